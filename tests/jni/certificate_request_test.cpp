// SPDX-License-Identifier: Apache-2.0
// createCSR.
#include "tests/jni/native_method_test.h"
#include "tests/support/watched_heap.h"

#include <algorithm>
#include <new>

namespace {

using namespace stories;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class CreateCsr : public NativeMethodTest {
protected:
    CreateCsr()
    {
        module.add(scripted::rsaPublicKey("alice", {0x01}, {0x05}, {0x03}));
        module.add(scripted::privateKey("alice", {0x01}));
        module.C_TOVR_CreateCSR = [this](auto, auto, auto, auto, CK_BYTE* csr, CK_ULONG* length, auto, auto, auto, auto,
                                         auto) {
            if (csr != nullptr)
                std::copy(request.begin(), request.end(), csr);
            *length = request.size();
            return CKR_OK;
        };
    }

    jlong createCsr()
    {
        return call(natives::createCSR, terminalName, modulePath, pin, publicKeyId, privateKeyId, subject, attributes,
                    extensions, csr);
    }

    /// A call of the vendor function, without its result.
    static std::string requesting(const std::string& publicKey, const std::string& subject, const std::string& buffer,
                                  const std::string& privateKey, const std::string& attributes,
                                  const std::string& extensions)
    {
        return "C_TOVR_CreateCSR(session 41, public key " + publicKey + ", subject " + subject + ", buffer " + buffer +
               ", private key " + privateKey + ", attributes " + attributes + ", extensions " + extensions + ")";
    }

    Bytes request = {0x30, 0x80};
    jbyteArray publicKeyId = jni.bytes("publicKeyId", {0x01});
    jbyteArray privateKeyId = jni.bytes("privateKeyId", {0x01});
    jobjectArray subject = nullptr;
    jobjectArray attributes = nullptr;
    jobjectArray extensions = nullptr;
    jobject csr = jni.list("csr");
};

TEST_F(CreateCsr, AppendsTheRequest)
{
    subject = jni.strings("subject", {"CN", "Alice", "C", "CZ"});
    attributes = jni.strings("attributes", {"unstructuredName", "token"});
    extensions = jni.strings("extensions", {"keyUsage", "critical", "digitalSignature"});
    const auto requestingInto = [](const std::string& buffer) {
        return requesting("101", R"({"CN", "Alice", "C", "CZ"} count 2)", buffer, "102",
                          R"({"unstructuredName", "token"} count 1)",
                          R"({"keyUsage", "critical", "digitalSignature"} count 1)") +
               " -> length 2: CKR_OK\n";
    };
    EXPECT_EQ(createCsr(), 0);
    EXPECT_EQ(job(), inSession(found("{CKA_CLASS CKO_PUBLIC_KEY [8], CKA_ID 01 [1]}", "101") +
                               found("{CKA_CLASS CKO_PRIVATE_KEY [8], CKA_ID 01 [1]}", "102") + requestingInto("null") +
                               requestingInto("zeros [2]")) +
                         delivered("csr", {0x30, 0x80}));
    EXPECT_THAT(jni.elements(csr), ElementsAre("Byte 48", "Byte -128"));
}

TEST_F(CreateCsr, LaysStringsEndToEndAndCountsWholeGroups)
{
    subject = jni.strings("subject", {"CN", "Alic", "C"});
    attributes = jni.strings("attributes", {"", ""});
    extensions = jni.strings("extensions", {"a", "b", "c", "d", "e"});
    module.C_TOVR_CreateCSR = [](auto, auto, CK_BYTE* subject, CK_ULONG subjectCount, auto, CK_ULONG* length, auto,
                                 CK_BYTE* attributes, CK_ULONG attributeCount, CK_BYTE* extensions,
                                 CK_ULONG extensionCount) {
        EXPECT_EQ(scripted::textOf(subject, 10), std::string("CN\0Alic\0C\0", 10));
        EXPECT_EQ(subjectCount, 1u);
        EXPECT_EQ(scripted::textOf(attributes, 2), std::string("\0\0", 2));
        EXPECT_EQ(attributeCount, 1u);
        EXPECT_EQ(scripted::textOf(extensions, 10), std::string("a\0b\0c\0d\0e\0", 10));
        EXPECT_EQ(extensionCount, 1u);
        *length = 0;
        return CKR_OK;
    };
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(story, HasSubstr(" -> length 0: CKR_OK\n"));
}

TEST_F(CreateCsr, PassesAnIncompleteGroupUncounted)
{
    subject = jni.strings("subject", {"CN"});
    extensions = jni.strings("extensions", {"keyUsage", "critical"});
    module.C_TOVR_CreateCSR = [](auto, auto, CK_BYTE* subject, CK_ULONG subjectCount, auto, CK_ULONG* length, auto,
                                 auto, auto, CK_BYTE* extensions, CK_ULONG extensionCount) {
        EXPECT_EQ(scripted::textOf(subject, 3), std::string("CN\0", 3));
        EXPECT_EQ(subjectCount, 0u);
        EXPECT_EQ(scripted::textOf(extensions, 18), std::string("keyUsage\0critical\0", 18));
        EXPECT_EQ(extensionCount, 0u);
        *length = 0;
        return CKR_OK;
    };
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(story, HasSubstr(" -> length 0: CKR_OK\n"));
}

TEST_F(CreateCsr, IsNotCutShortByANulCharacter)
{
    subject = jni.strings("subject", {"C\xc0\x80N", "\xc5\xbd"});
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(story, HasSubstr("subject {\"C\xc0\x80N\", \"\xc5\xbd\"} count 1, "));
}

TEST_F(CreateCsr, PassesNullArraysAsNull)
{
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(story, HasSubstr(modulePathAndTerminalNameRead() + "module loaded\n"));
    EXPECT_THAT(story, HasSubstr(requesting("101", "null count 0", "null", "102", "null count 0", "null count 0")));
}

TEST_F(CreateCsr, PassesEmptyArraysAsNull)
{
    subject = jni.strings("subject", {});
    attributes = jni.strings("attributes", {});
    extensions = jni.strings("extensions", {});
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(story, HasSubstr(modulePathAndTerminalNameRead() + allRead("subject", 0) + allRead("attributes", 0) +
                                 allRead("extensions", 0) + "module loaded\n"));
    EXPECT_THAT(story, HasSubstr(requesting("101", "null count 0", "null", "102", "null count 0", "null count 0")));
}

TEST_F(CreateCsr, KeepsWhatTheListHolds)
{
    csr = jni.list("csr", {"before"});
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(jni.elements(csr), ElementsAre("\"before\"", "Byte 48", "Byte -128"));
}

TEST_F(CreateCsr, TouchesNothingForAnEmptyRequest)
{
    request.clear();
    EXPECT_EQ(createCsr(), 0);
    EXPECT_THAT(job(), EndsWith(" -> length 0: CKR_OK\n" + closed));
}

TEST_F(CreateCsr, GivesCharactersBackWhenTheyFitNoMemory)
{
    subject = jni.strings("subject", {"CN", std::string(1 << 20, 'x')});
    const AllocationLimit limit(1 << 19);
    EXPECT_THROW(createCsr(), std::bad_alloc);
    EXPECT_THAT(story, EndsWith(read("subject[1]")));
}

} // namespace
