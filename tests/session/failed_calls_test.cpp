// SPDX-License-Identifier: Apache-2.0
// What each native does and tells when one of its calls of the module fails.
#include "tests/session/session_calls.h"

#include <sstream>

namespace {

using testing::ElementsAre;

const CK_RV failureCode = CKR_DEVICE_ERROR;

/// "C_Login" of each line "C_Login(...): CKR_OK".
std::vector<std::string> functions(const std::string& story)
{
    std::vector<std::string> names;
    std::istringstream lines(story);
    for (std::string line; std::getline(lines, line);)
        names.push_back(line.substr(0, line.find('(')));
    return names;
}

std::string oneLine(std::string text)
{
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;)
        text.replace(at, 1, "; ");
    return text;
}

/// Carries the native out with each of its module calls failing in turn. Tells of each which call failed, which ones
/// came behind it and what was reported. The one behind the last is carried out undisturbed, and must succeed.
std::vector<std::string> failures(const std::string& name)
{
    const SessionCall native = sessionCall(name);
    std::vector<std::string> all;
    for (unsigned long n = 1;; ++n) {
        Scene scene;
        prepare(scene, native);
        const unsigned long before = scene.module.callCount();
        scene.module.failCall(n, failureCode);
        native.run(scene,
                   scripted::bytesOf(name == "initializeToken" ? scene.module.token.soPin : scene.module.token.userPin),
                   scripted::bytesOf("another"));
        if (scene.module.callCount() - before < n) {
            EXPECT_EQ(scene.told + scene.thrown, "");
            return all;
        }
        const std::vector<std::string> called = functions(scene.story);
        std::string text = called.at(n - 1) + " >";
        for (std::size_t later = n; later < called.size(); ++later)
            text += " " + called[later];
        all.push_back(text + " > " + oneLine(scene.told));
        EXPECT_EQ(scene.thrown.empty(), scene.told.rfind("CKR_", 0) != 0) << text;
    }
}

// What a search adds to a failure, and what follows it.
const std::string searchEnded = " > C_FindObjectsFinal > ";
const std::string askedForTheLogin = "C_GetSessionInfo > > CKR_DEVICE_ERROR in C_GetSessionInfo";
const std::string askedForTheCard = "C_GetSlotInfo > > CKR_DEVICE_ERROR in C_GetSlotInfo";
const std::string inSessionInfo = "C_GetSessionInfo CKR_DEVICE_ERROR in C_GetSessionInfo";
const std::string inSlotInfo = "C_GetSlotInfo CKR_DEVICE_ERROR in C_GetSlotInfo";
const std::string inFindObjects = "CKR_DEVICE_ERROR in C_FindObjects; C_FindObjects failed";

TEST(FailedCall, OfANativeOfOneCallIsReported)
{
    EXPECT_THAT(failures("initialize"),
                ElementsAre("C_Initialize > > CKR_DEVICE_ERROR in C_Initialize; C_Initialize error. Code: 48"));
    EXPECT_THAT(failures("tokenInfo"), ElementsAre("C_GetTokenInfo > > CKR_DEVICE_ERROR in C_GetTokenInfo"));
    EXPECT_THAT(failures("openSession"), ElementsAre("C_OpenSession > > CKR_DEVICE_ERROR in C_OpenSession"));
    EXPECT_THAT(failures("login"), ElementsAre("C_Login > > CKR_DEVICE_ERROR in C_Login; Login failed. Code: 48"));
    EXPECT_THAT(failures("closeSession"), ElementsAre("C_CloseSession > > CKR_DEVICE_ERROR in C_CloseSession"));
    EXPECT_THAT(failures("changePin"), ElementsAre("C_SetPIN > > CKR_DEVICE_ERROR in C_SetPIN"));
    EXPECT_THAT(failures("initializeToken"),
                ElementsAre("C_InitToken > > CKR_DEVICE_ERROR in C_InitToken; C_InitToken failed. Code: 48"));
    EXPECT_THAT(failures("importCertificate"),
                ElementsAre("C_TOVR_ImportX509Certificate > > CKR_DEVICE_ERROR in C_TOVR_ImportX509Certificate; Load "
                            "failed. Code: 48"));
    EXPECT_THAT(failures("importBlocks"),
                ElementsAre("C_TOVR_ImportCert > > CKR_DEVICE_ERROR in C_TOVR_ImportCert; Load failed. Code: 48"));
    EXPECT_THAT(failures("generateRsaKeyPair"),
                ElementsAre("C_GenerateKeyPair > > CKR_DEVICE_ERROR in C_GenerateKeyPair"));
    EXPECT_THAT(failures("generateGostKeyPair"),
                ElementsAre("C_GenerateKeyPair > > CKR_DEVICE_ERROR in C_GenerateKeyPair"));
    EXPECT_THAT(failures("verify"), ElementsAre("C_TOVR_pkcs7Verify > > CKR_DEVICE_ERROR in C_TOVR_pkcs7Verify"));
    EXPECT_THAT(failures("finish"), ElementsAre("C_Finalize > > CKR_DEVICE_ERROR in C_Finalize"));
}

TEST(FailedCall, OfSlots)
{
    EXPECT_THAT(failures("slots"),
                ElementsAre("C_GetSlotList > > CKR_DEVICE_ERROR in C_GetSlotList",
                            "C_GetSlotList > > CKR_DEVICE_ERROR in C_GetSlotList",
                            "C_GetSlotInfo > > C_GetSlotInfo failed. Code: 48", "C_GetTokenInfo > > "));
}

TEST(FailedCall, OfReadingACertificateEndsItsSearch)
{
    EXPECT_THAT(
        failures("readCertificate"),
        ElementsAre("C_FindObjectsInit > > CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed. Code: 48",
                    "C_FindObjects" + searchEnded + inFindObjects + ". Code: 48",
                    "C_GetAttributeValue" + searchEnded +
                        "CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue failed for 101. Code: 48",
                    "C_GetAttributeValue" + searchEnded +
                        "CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue failed #2 for 101. Code: 48",
                    "C_FindObjectsFinal > C_GetSessionInfo C_GetSlotInfo > ", askedForTheLogin, askedForTheCard));
}

TEST(FailedCall, OfReadingAPublicKeyEndsItsSearch)
{
    EXPECT_THAT(
        failures("readPublicKey"),
        ElementsAre("C_FindObjectsInit > > CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed. Code: 48",
                    "C_FindObjects" + searchEnded + inFindObjects + ". Code: 48",
                    "C_GetAttributeValue" + searchEnded +
                        "CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue failed for 102. Code: 48",
                    "C_GetAttributeValue" + searchEnded +
                        "CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue failed #2 for 102. Code: 48",
                    "C_FindObjectsFinal > C_GetSessionInfo C_GetSlotInfo > ", askedForTheLogin, askedForTheCard));
}

/// A search for one object among `number`ed ones, which `next` follows.
std::vector<std::string> failedSearch(const std::string& number)
{
    return {"C_FindObjectsInit > > CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed" + number +
                ". Code: 48",
            "C_FindObjects" + searchEnded + inFindObjects + number + ". Code: 48"};
}

TEST(FailedCall, OfARequestEndsItsSearch)
{
    const auto all = failures("createRequest");
    ASSERT_EQ(all.size(), 8u);
    EXPECT_THAT(std::vector(all.begin(), all.begin() + 2), testing::ContainerEq(failedSearch(" #1")));
    EXPECT_THAT(std::vector(all.begin() + 3, all.begin() + 5), testing::ContainerEq(failedSearch(" #2")));
    EXPECT_THAT(std::vector(all.begin() + 6, all.end()),
                ElementsAre("C_TOVR_CreateCSR > > CKR_DEVICE_ERROR in C_TOVR_CreateCSR; C_TOVR_CreateCSR failed #1. "
                            "Code: 48",
                            "C_TOVR_CreateCSR > > CKR_DEVICE_ERROR in C_TOVR_CreateCSR; C_TOVR_CreateCSR failed #2. "
                            "Code: 48"));
    EXPECT_THAT(all[2], testing::EndsWith(" > ")) << "the end of a search is nothing to report";
}

TEST(FailedCall, OfASignatureEndsItsSearch)
{
    const auto all = failures("sign");
    ASSERT_EQ(all.size(), 11u);
    EXPECT_THAT(std::vector(all.begin(), all.begin() + 2), testing::ContainerEq(failedSearch(" #1")));
    EXPECT_THAT(std::vector(all.begin() + 3, all.begin() + 5), testing::ContainerEq(failedSearch(" #2")));
    EXPECT_THAT(std::vector(all.begin() + 6, all.begin() + 8), testing::ContainerEq(failedSearch(" #3, Step: 1")));
    EXPECT_THAT(std::vector(all.begin() + 9, all.end()),
                ElementsAre("C_TOVR_pkcs7Sign > > CKR_DEVICE_ERROR in C_TOVR_pkcs7Sign; C_TOVR_pkcs7Sign failed #1. "
                            "Code: 48",
                            "C_TOVR_pkcs7Sign > > CKR_DEVICE_ERROR in C_TOVR_pkcs7Sign; C_TOVR_pkcs7Sign failed #2. "
                            "Code: 48"));
}

/// Those that end a native, each as the module call's name and what was reported.
std::vector<std::string> ending(const std::vector<std::string>& all)
{
    std::vector<std::string> chosen;
    for (const std::string& one : all)
        if (const std::size_t at = one.find("> CKR_"); at != std::string::npos)
            chosen.push_back(one.substr(0, one.find(' ')) + one.substr(at + 1));
    return chosen;
}

TEST(FailedCall, OfAListing)
{
    const auto all = failures("listObjects");
    ASSERT_EQ(all.size(), 23u); // 9 of the search, 2 for each of 6 objects, 2 of the check
    EXPECT_THAT(
        ending(all),
        ElementsAre("C_FindObjectsInit CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed. Code: 48",
                    "C_GetAttributeValue CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue failed "
                    "for 106. Code: 48",
                    "C_GetAttributeValue CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue #2 "
                    "failed for 106. Code: 48",
                    inSessionInfo, inSlotInfo))
        << "only the last object's";
    EXPECT_THAT(all[9], testing::EndsWith("> C_GetAttributeValue failed for 101. Code: 48"));
    EXPECT_THAT(all[8], testing::EndsWith("> C_FindObjectsFinal failed. Code: 48"));
}

TEST(FailedCall, OfDestroying)
{
    const auto all = failures("destroyObjects");
    ASSERT_EQ(all.size(), 19u);
    EXPECT_THAT(
        ending(all),
        ElementsAre(inSessionInfo, inSlotInfo,
                    "C_FindObjectsInit CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed. Code: 48",
                    "C_DestroyObject CKR_DEVICE_ERROR in C_DestroyObject; C_DestroyObject failed for 106. "
                    "Code: 48",
                    inSessionInfo, inSlotInfo));
    EXPECT_THAT(all[11], testing::EndsWith("> C_DestroyObject failed for 101. Code: 48"));
}

TEST(FailedCall, OfAListingOfCertificates)
{
    EXPECT_THAT(
        ending(failures("listCertificates")),
        ElementsAre("C_FindObjectsInit CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed. Code: 48",
                    "C_FindObjectsFinal CKR_DEVICE_ERROR in C_FindObjectsFinal; C_FindObjectsFinal failed. "
                    "Code: 48",
                    "C_FindObjectsInit CKR_DEVICE_ERROR in C_FindObjectsInit; C_FindObjectsInit failed. Code: 48",
                    "C_FindObjectsFinal CKR_DEVICE_ERROR in C_FindObjectsFinal; C_FindObjectsFinal failed. "
                    "Code: 48",
                    "C_GetAttributeValue CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue failed "
                    "for 101. Code: 48",
                    "C_GetAttributeValue CKR_DEVICE_ERROR in C_GetAttributeValue; C_GetAttributeValue #2 "
                    "failed for 101. Code: 48",
                    inSessionInfo, inSlotInfo));
}

TEST(FailedCall, KeepsTheSixtyFourBitsOfItsCode)
{
    Scene scene;
    scene.open();
    scene.module.C_SetPIN = scripted::answering(0xfedcba9876543210);
    scene.call(scene.natives.changePin, scene.loaded, scene.session, scene.bytes("12345678"), scene.bytes("x"));
    EXPECT_EQ(scene.told, failure(0xfedcba9876543210, "C_SetPIN"));
}

} // namespace
