// SPDX-License-Identifier: Apache-2.0
// The jobs on an open session: what they ask of the module and what they bring back.
#include "tests/session/session_calls.h"
#include "tests/support/watched_heap.h"

#include <cstring>

namespace {

using namespace scripted;
using testing::ElementsAre;
using testing::HasSubstr;

class Jobs : public SessionTest {
protected:
    void SetUp() override
    {
        module.addSampleObjects();
        open();
    }

    /// A native of the open session, with a result or without.
    template <typename Native, typename... Arguments>
    auto job(Native native, Arguments... arguments)
    {
        if constexpr (std::is_same_v<decltype(native(nullptr, nullptr, loaded, session, arguments...)), jbyteArray>)
            return fetch(native, loaded, session, arguments...);
        else
            call(native, loaded, session, arguments...);
    }

    std::optional<Bytes> sign(const Bytes& certificateId, const Bytes& keyId, const std::vector<Bytes>& further = {})
    {
        return job(natives.sign, bytes("data"), bytes(certificateId), bytes(keyId), java.byteArrays(further), jlong{5});
    }

    static std::string text(const std::optional<Bytes>& result)
    {
        return result ? std::string(result->begin(), result->end()) : "no result";
    }

    const Bytes none = {};
    const Bytes alice = {0x01};
};

TEST_F(Jobs, DescribeTheToken)
{
    EXPECT_THAT(
        fieldsOf(fetch(natives.tokenInfo, loaded, jlong{7})),
        ElementsAre("Scripted Token", "Scripted Works", "Scripted Model", "0123456789abcdef", "000000000000040d"));
    EXPECT_EQ(story + told + thrown, "C_GetTokenInfo(slot 7): CKR_OK\n");
}

TEST_F(Jobs, ListObjects)
{
    EXPECT_THAT(fieldsOf(job(natives.listObjects)),
                ElementsAre("certificate", "alice", "01", "", "public key", "alice", "01", "RSA", "private key",
                            "alice", "01", "RSA", "public key", "boris", "02ff", "GOSTR3410", "private key", "boris",
                            "02ff", "GOSTR3410", "data", "note", "", ""));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, ListCertificatesWithTheirContentsAndWhetherTheirKeyIsThere)
{
    module.add(certificate("keyless", {0x09}, {0x30, 0x00}));
    module.add(certificate("without ID", {}, {}));
    module.add(privateKey("without ID", {}));
    const Bytes der = *sampleObjects()[0].at(CKA_VALUE);
    EXPECT_THAT(fieldsOf(job(natives.listCertificates)),
                ElementsAre("alice", "\x01", textOf(der.data(), der.size()), numberField(1), "keyless", "\x09",
                            std::string("0\0", 2), numberField(0), "without ID", "", "", numberField(0)));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, ListACertificateThatLacksAnAttribute)
{
    module.objects.clear();
    Object object = certificate("", {}, {0x30, 0x00});
    object.erase(CKA_LABEL);
    module.add(object);
    EXPECT_THAT(fieldsOf(job(natives.listCertificates)), ElementsAre("", "", std::string("0\0", 2), numberField(0)));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, DestroyObjects)
{
    job(natives.destroyObjects);
    EXPECT_TRUE(module.objects.empty());
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, ReadACertificate)
{
    EXPECT_EQ(job(natives.readCertificate, bytes("alice"), bytes(alice)), sampleObjects()[0].at(CKA_VALUE));
    EXPECT_THAT(story, HasSubstr(stories::found("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5], CKA_ID 01 "
                                                "[1]}",
                                                "101")
                                     .substr(0, 60)));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, ReadAPublicKey)
{
    const Object key = sampleObjects()[1];
    const Bytes modulus = *key.at(CKA_MODULUS);
    const Bytes exponent = *key.at(CKA_PUBLIC_EXPONENT);
    EXPECT_THAT(fieldsOf(job(natives.readPublicKey, bytes("alice"), bytes(alice))),
                ElementsAre(textOf(modulus.data(), modulus.size()), textOf(exponent.data(), exponent.size())));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, TellThatNothingWasFound)
{
    EXPECT_EQ(job(natives.readCertificate, bytes("nobody"), bytes(none)), std::nullopt);
    EXPECT_EQ(told, failure(CKR_FUNCTION_FAILED, "search", "C_FindObjects object not found. Code: 0\n"));
    EXPECT_THAT(story, testing::EndsWith(stories::searchEnded + loginAskedFor + cardAskedFor));
}

TEST_F(Jobs, SearchForLabelsWithANulInThem)
{
    const std::string label("al\0ice", 6);
    module.add(certificate(label, {}, {0x30, 0x00}));
    EXPECT_EQ(job(natives.readCertificate, bytes(label), bytes(none)), (Bytes{0x30, 0x00}));
    EXPECT_THAT(story, HasSubstr("CKA_LABEL 616c00696365 [6]}"));
}

TEST_F(Jobs, SearchForAnEmptyLabelAsOneOfLengthZero)
{
    EXPECT_EQ(job(natives.readCertificate, bytes(""), bytes(none)), std::nullopt);
    EXPECT_THAT(story, HasSubstr("CKA_LABEL \"\" [0]}"));
}

TEST_F(Jobs, GenerateKeysUnderALabelWithANulInIt)
{
    const std::string label("ca\0rol", 6);
    job(natives.generateRsaKeyPair, jlong{2048}, bytes(label), bytes(Bytes{3}));
    EXPECT_EQ(module.objects.rbegin()->second.at(CKA_LABEL), bytesOf(label));
    EXPECT_THAT(story, HasSubstr("CKA_MODULUS_BITS 2048"));
    EXPECT_EQ(told + thrown, "");
    job(natives.generateGostKeyPair, bytes(label), bytes(none));
    EXPECT_EQ(module.objects.rbegin()->second.count(CKA_ID), 0u);
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, GenerateKeysUnderAnEmptyLabel)
{
    job(natives.generateRsaKeyPair, jlong{2048}, bytes(""), bytes(alice));
    EXPECT_EQ(module.objects.rbegin()->second.at(CKA_LABEL), Bytes());
}

TEST_F(Jobs, ImportCertificates)
{
    job(natives.importCertificate, bytes("carol"), bytes(Bytes{3}), bytes(Bytes{0x30, 0x00}));
    EXPECT_EQ(story + told + thrown, "C_TOVR_ImportX509Certificate(session 41, label \"carol\", ID 03 [1], certificate "
                                     "3000 [2]): CKR_OK\n");
    job(natives.importBlocks, bytes(Bytes{0x30, 0x00}), bytes(Bytes{4}));
    EXPECT_EQ(story + told + thrown, "C_TOVR_ImportCert(session 41, first 3000 [2], second 04 [1]): CKR_OK\n");
}

TEST_F(Jobs, Sign)
{
    EXPECT_EQ(text(sign(alice, alice, {alice, alice})),
              "certificate 101;private 103;certificates {101, 101};flags 5;data");
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, SignWithoutACertificateAlsoAfterSomebodyElsesLogin)
{
    EXPECT_EQ(call(natives.login, loaded, session, jlong{CKU_USER}, bytes("12345678")), JNI_FALSE);
    EXPECT_EQ(text(sign(none, alice)), "certificate 0;private 103;certificates null;flags 5;data");
    EXPECT_EQ(text(sign(none, none)), "certificate 0;private 0;certificates null;flags 5;data");
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, TellOfAMissingFurtherCertificateAndSign)
{
    EXPECT_EQ(text(sign(alice, alice, {{0x77}, alice})),
              "certificate 101;private 103;certificates {0, 101};flags 5;data");
    EXPECT_EQ(told + thrown, "C_FindObjects object not found #3, Step: 1. Code: 0\n");
}

TEST_F(Jobs, SignWithAThousandFurtherCertificates)
{
    EXPECT_THAT(text(sign(alice, alice, std::vector<Bytes>(1000, alice))), HasSubstr("101, 101};flags"));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, VerifyWithInputsThatMayBeNone)
{
    const jbyteArray null = nullptr;
    call(natives.verify, loaded, null, null);
    EXPECT_EQ(story + told + thrown, "C_TOVR_pkcs7Verify(first null [0], second null [0]): CKR_OK\n");
    call(natives.verify, loaded, bytes("a"), null);
    EXPECT_EQ(told, failure(CKR_SIGNATURE_INVALID, "C_TOVR_pkcs7Verify"));
}

TEST_F(Jobs, CreateRequests)
{
    EXPECT_EQ(text(job(natives.createRequest, bytes(alice), bytes(alice), bytes(std::string("CN\0A\0", 5)), jlong{2},
                       bytes(""), jlong{0}, bytes(std::string("u\0c\0s\0", 6)), jlong{3})),
              "public 102;private 103;subject(1):CN,A;attributes(0):;extensions(1):u,c,s;");
    EXPECT_THAT(story, HasSubstr("attributes null count 0"));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, KeepTheAnnouncedLengthOfWhatAVendorFunctionBuilds)
{
    module.imprecision = 3;
    const std::string message = text(sign(alice, alice));
    EXPECT_EQ(message.substr(message.size() - 7), std::string("data\0\0\0", 7));
}

TEST_F(Jobs, BelieveNoLengthBeyondTheirBuffer)
{
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* attributes, CK_ULONG count) {
        for (CK_ULONG i = 0; i < count; ++i) {
            if (attributes[i].pValue != nullptr)
                std::memset(attributes[i].pValue, 'x', attributes[i].ulValueLen);
            attributes[i].ulValueLen = attributes[i].pValue == nullptr ? 2 : 5000;
        }
        return CKR_OK;
    };
    EXPECT_EQ(text(job(natives.readCertificate, bytes("alice"), bytes(none))), "xx");
    EXPECT_THAT(fieldsOf(job(natives.listCertificates)), ElementsAre("xx", "xx", "xx", numberField(1)));
    EXPECT_EQ(fieldsOf(job(natives.listObjects)).at(1), "xx");
}

TEST_F(Jobs, TakeAShorterAnswerAsItIs)
{
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* attributes, CK_ULONG count) {
        for (CK_ULONG i = 0; i < count; ++i) {
            if (attributes[i].pValue != nullptr)
                std::memset(attributes[i].pValue, 'x', 2);
            attributes[i].ulValueLen = attributes[i].pValue == nullptr ? 5 : i == 0 ? CK_UNAVAILABLE_INFORMATION : 2;
        }
        return CKR_OK;
    };
    EXPECT_THAT(fieldsOf(job(natives.listCertificates)), ElementsAre("", "xx", "xx", numberField(0)));
    EXPECT_EQ(text(job(natives.readCertificate, bytes("alice"), bytes(none))), std::string("xx\0\0\0", 5));
}

TEST_F(Jobs, MoveLabelsAndValuesOfOneMegabyte)
{
    const std::string label(1 << 20, 'l');
    const Bytes value(1 << 20, 0x30);
    job(natives.importCertificate, bytes(label), bytes(alice), bytes(value));
    EXPECT_EQ(job(natives.readCertificate, bytes(label), bytes(alice)), value);
    EXPECT_EQ(fieldsOf(job(natives.listCertificates)).at(4), label);
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Jobs, CannotDeliverMoreThanAnArrayHolds)
{
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* attributes, CK_ULONG) {
        attributes->ulValueLen = CK_ULONG{1} << 62;
        return CKR_OK;
    };
    const AllocationLimit limit(std::size_t{1} << 40); // a sanitizer would end the program
    EXPECT_EQ(job(natives.readCertificate, bytes("alice"), bytes(none)), std::nullopt);
    EXPECT_EQ(thrown, "java/lang/OutOfMemoryError: native memory");
    EXPECT_THAT(story, testing::EndsWith(stories::searchEnded));
}

} // namespace
