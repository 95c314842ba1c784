// SPDX-License-Identifier: Apache-2.0
// Reading certificates and public keys.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

#include <exception>

using namespace scripted;
using namespace stories;

namespace {

const Bytes der = {0x30, 0x03, 0x02, 0x01, 0x80};
const Bytes modulus = {0x00, 0xc3, 0x00, 0x7f};
const Bytes exponent = {0x01, 0x00, 0x01};

std::string hex(const Bytes& bytes)
{
    return runText(bytes.data(), bytes.size());
}

const std::string certificateOfAlice = "{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5], CKA_ID 01 [1]}";
const std::string keyOfAlice = "{CKA_CLASS CKO_PUBLIC_KEY [8], CKA_LABEL \"alice\" [5], CKA_ID 01 [1]}";

// --- Certificates ---

TEST(CertificateRetrieval, ByLabelAndIdEndsTidilyWhicheverCallFails)
{
    const Bytes old = {0xee};
    Operation operation;
    operation.prepare = [](ScriptedModule& module) { module.add(certificate("alice", {0x01}, der)); };
    operation.perform = [&](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer id = Bytes{0x01};
        Bytes out = old;
        const CK_RV rv = token.GetX509Certificate(slotId, pin.data(), pin.size(), "alice", id.data(), id.size(), out);
        return {rv, hex(out)};
    };
    operation.steps =
        inSession({startSearch(certificateOfAlice), findOne(101),
                   Step("C_GetAttributeValue(session 41, object 101, {CKA_VALUE null [0]})")
                       .gives("[5]")
                       .onFailure("| C_GetAttributeValue failed for 101. Code: {code}\n" + searchEnded + closed),
                   Step("C_GetAttributeValue(session 41, object 101, {CKA_VALUE zeros [5]})")
                       .gives("[5]")
                       .onFailure("| C_GetAttributeValue failed #2 for 101. Code: {code}\n{rest}")
                       .leaves(hex(Bytes(5, 0))),
                   endSearch});
    operation.outputs = hex(der);
    operation.outputsOfFailure = hex(old);
    sweep(operation);
}

class RetrievalTest : public WrapperTest {
protected:
    std::string getCertificate(const char* label, Buffer id = "")
    {
        return story(
            [&] { rv = token.GetX509Certificate(slotId, pin.data(), pin.size(), label, id.data(), id.size(), out); });
    }

    std::string getKey(const char* label, Buffer id = "")
    {
        return story(
            [&] { rv = token.GetPublicKey(slotId, pin.data(), pin.size(), label, id.data(), id.size(), out, out2); });
    }

    /// The story of a search that finds nothing.
    static std::string inVain(const std::string& attributes) { return inSession(missed(attributes)); }

    const Bytes old = {0xee};
    Bytes out = old;
    Bytes out2 = old;
};

TEST_F(RetrievalTest, MissingCertificateFailsAndPrintsZero)
{
    module.add(rsaPublicKey("alice", {0x01}, modulus, exponent));
    EXPECT_EQ(getCertificate("alice", Bytes{0x01}), inVain(certificateOfAlice));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(out, old);
}

TEST_F(RetrievalTest, EmptyIdLeavesTheIdOutOfTheSearch)
{
    EXPECT_EQ(getCertificate("alice"), inVain("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5]}"));
}

TEST_F(RetrievalTest, IdOfLengthZeroIsLeftOutWhateverItsPointer)
{
    unsigned char id = 0x01;
    EXPECT_EQ(story([&] { rv = token.GetX509Certificate(slotId, pin.data(), pin.size(), "alice", &id, 0, out); }),
              inVain("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5]}"));
}

TEST_F(RetrievalTest, EmptyLabelIsStillSent)
{
    EXPECT_EQ(getCertificate(""), inVain("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"\" [0]}"));
}

TEST_F(RetrievalTest, FirstOfSeveralCertificatesWins)
{
    module.add(certificate("alice", {0x01}, der));
    module.add(certificate("alice", {0x02}, {0xff}));
    getCertificate("alice");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(out, der);
}

TEST_F(RetrievalTest, IdChoosesAmongCertificatesOfOneLabel)
{
    module.add(certificate("alice", {0x01}, {0xff}));
    module.add(certificate("alice", {0x02}, der));
    getCertificate("alice", Bytes{0x02});
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(out, der);
}

TEST_F(RetrievalTest, EmptyCertificateIsReadInBothCalls)
{
    module.add(certificate("alice", {0x01}, {}));
    const unsigned long before = module.callCount();
    getCertificate("alice");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(module.callCount() - before, 8);
}

TEST_F(RetrievalTest, CertificateKeepsTheAnnouncedLength)
{
    module.add(certificate("alice", {0x01}, der));
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* query, CK_ULONG) -> CK_RV {
        if (query->pValue == nullptr) {
            query->ulValueLen = 4;
            return CKR_OK;
        }
        static_cast<unsigned char*>(query->pValue)[0] = 0x30;
        query->ulValueLen = 1u << 20;
        return CKR_OK;
    };
    getCertificate("alice");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(out, (Bytes{0x30, 0x00, 0x00, 0x00}));
}

TEST_F(RetrievalTest, PartlyWrittenCertificateStaysAfterAFailure)
{
    module.add(certificate("alice", {0x01}, der));
    module.C_GetAttributeValue = [read = module.C_GetAttributeValue](auto session, auto object, CK_ATTRIBUTE* query,
                                                                     auto count) -> CK_RV {
        if (query->pValue == nullptr)
            return read(session, object, query, count);
        static_cast<unsigned char*>(query->pValue)[1] = 0x03;
        return CKR_DEVICE_REMOVED;
    };
    getCertificate("alice");
    EXPECT_CKR(rv, CKR_DEVICE_REMOVED);
    EXPECT_EQ(out, (Bytes{0x00, 0x03, 0x00, 0x00, 0x00}));
}

TEST_F(RetrievalTest, CertificateThatCannotBeHeldLeavesAsExceptionWithTheSessionClosed)
{
    module.add(certificate("alice", {0x01}, der));
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* query, CK_ULONG) -> CK_RV {
        query->ulValueLen = CK_UNAVAILABLE_INFORMATION;
        return CKR_OK;
    };
    EXPECT_EQ(story([&] {
                  EXPECT_THROW(token.GetX509Certificate(slotId, pin.data(), pin.size(), "alice", nullptr, 0, out),
                               std::exception);
              }),
              inSession(searchStarted("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5]}") + next("101") +
                        "C_GetAttributeValue(session 41, object 101, {CKA_VALUE null [0]}) -> [none]: CKR_OK\n" +
                        searchEnded));
    EXPECT_EQ(out, old);
}

// --- Public keys ---

TEST(PublicKeyRetrieval, ByLabelAndIdEndsTidilyWhicheverCallFails)
{
    const std::string old = "\"m\" [1] \"e\" [1]";
    Operation operation;
    operation.prepare = [](ScriptedModule& module) { module.add(rsaPublicKey("alice", {0x01}, modulus, exponent)); };
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer id = Bytes{0x01};
        Bytes m = {'m'};
        Bytes e = {'e'};
        const CK_RV rv = token.GetPublicKey(slotId, pin.data(), pin.size(), "alice", id.data(), id.size(), m, e);
        return {rv, hex(m) + " " + hex(e)};
    };
    operation.steps = inSession({
        startSearch(keyOfAlice),
        findOne(101),
        Step("C_GetAttributeValue(session 41, object 101, {CKA_MODULUS null [0], CKA_PUBLIC_EXPONENT null [0]})")
            .gives("[4, 3]")
            .onFailure("| C_GetAttributeValue failed for 101. Code: {code}\n" + searchEnded + closed),
        Step("C_GetAttributeValue(session 41, object 101, {CKA_MODULUS zeros [4], CKA_PUBLIC_EXPONENT zeros [3]})")
            .gives("[4, 3]")
            .onFailure("| C_GetAttributeValue failed #2 for 101. Code: {code}\n{rest}")
            .leaves(hex(Bytes(4, 0)) + " " + hex(Bytes(3, 0))),
        endSearch,
    });
    operation.outputs = hex(modulus) + " " + hex(exponent);
    operation.outputsOfFailure = old;
    sweep(operation);
}

TEST_F(RetrievalTest, MissingPublicKeyFailsAndPrintsZero)
{
    module.add(certificate("alice", {0x01}, der));
    EXPECT_EQ(getKey("alice", Bytes{0x01}), inVain(keyOfAlice));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(out, old);
    EXPECT_EQ(out2, old);
}

TEST_F(RetrievalTest, PublicKeyByLabelAlone)
{
    module.add(rsaPublicKey("alice", {0x01}, modulus, exponent));
    module.add(rsaPublicKey("alice", {0x02}, {0xff}, {0x03}));
    getKey("alice");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(out, modulus);
    EXPECT_EQ(out2, exponent);
}

TEST_F(RetrievalTest, KeyWithoutRsaComponentsGivesTheModulesCode)
{
    module.add(gostPublicKey("boris", {0x02}));
    EXPECT_EQ(getKey("boris"),
              inSession(searchStarted("{CKA_CLASS CKO_PUBLIC_KEY [8], CKA_LABEL \"boris\" [5]}") + next("101") +
                        "C_GetAttributeValue(session 41, object 101, {CKA_MODULUS null [0], CKA_PUBLIC_EXPONENT null "
                        "[0]}): "
                        "CKR_ATTRIBUTE_TYPE_INVALID\n"
                        "| C_GetAttributeValue failed for 101. Code: 18\n" +
                        searchEnded));
    EXPECT_CKR(rv, CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(out, old);
    EXPECT_EQ(out2, old);
}

TEST_F(RetrievalTest, EmptyModulusDoesNotHideTheExponent)
{
    module.add(rsaPublicKey("alice", {0x01}, {}, exponent));
    getKey("alice");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(out2, exponent);
}

TEST_F(RetrievalTest, ExponentThatCannotBeHeldLeavesAsExceptionWithTheSessionClosed)
{
    module.add(rsaPublicKey("alice", {0x01}, modulus, exponent));
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* query, CK_ULONG) -> CK_RV {
        query[0].ulValueLen = 4;
        query[1].ulValueLen = CK_UNAVAILABLE_INFORMATION;
        return CKR_OK;
    };
    const std::string told = story([&] {
        EXPECT_THROW(token.GetPublicKey(slotId, pin.data(), pin.size(), "alice", nullptr, 0, out, out2),
                     std::exception);
    });
    EXPECT_EQ(told.substr(told.find("C_FindObjectsFinal")), searchEnded + closed);
    EXPECT_EQ(out2, old);
}

} // namespace
