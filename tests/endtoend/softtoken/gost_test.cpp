// SPDX-License-Identifier: Apache-2.0
// GOST R 34.10-2001 keys, their requests and messages, judged by GnuTLS and by the GOST programs.
#include "tests/endtoend/softtoken/soft_token.h"

#include <algorithm>

namespace endtoend {
namespace {

constexpr CK_ULONG enclosed = 0;
constexpr CK_ULONG detached = 1;

class Gost : public TokenTest {
protected:
    CK_RV generateWith(CK_ATTRIBUTE publicEntry, CK_ATTRIBUTE privateEntry)
    {
        CK_MECHANISM mechanism = {CKM_GOSTR3410_KEY_PAIR_GEN, nullptr, 0};
        CK_OBJECT_HANDLE publicKey = 0;
        CK_OBJECT_HANDLE privateKey = 0;
        return standard->C_GenerateKeyPair(session, &mechanism, &publicEntry, 1, &privateEntry, 1, &publicKey,
                                           &privateKey);
    }

    Bytes otherCurve = {0x06, 0x07, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x23, 0x02}; // CryptoPro's B
    const Bytes content = bytes("content to be signed");
};

class GostAmongOthers : public Gost, public testing::WithParamInterface<const GostProgram*> {
protected:
    Outcome verifiedByOther(const Bytes& message, const std::string& detached = "")
    {
        folder.write("message.der", message);
        return other.verifyMessage(folder, detached);
    }

    Bytes messageOfOther(GostProgram::Attributes attributes)
    {
        folder.write("content", content);
        EXPECT_TRUE(succeeded(other.signMessage(folder, attributes)));
        return folder.read("own.der");
    }

    const GostProgram& other = *GetParam();
};

INSTANTIATE_TEST_SUITE_P(, GostAmongOthers, testing::ValuesIn(gostPrograms()),
                         [](const auto& program) { return program.param->name; });

TEST_F(Gost, KeysAreListedAsSuchUnderLabelAndId)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    const CK_KEY_TYPE expected = CKK_GOSTR3410;
    const auto* start = reinterpret_cast<const unsigned char*>(&expected);
    for (const CK_OBJECT_CLASS objectClass : {CKO_PUBLIC_KEY, CKO_PRIVATE_KEY}) {
        const CK_OBJECT_HANDLE key = only(objectClass, "id");
        EXPECT_EQ(attribute(key, CKA_KEY_TYPE), Bytes(start, start + sizeof expected));
        EXPECT_EQ(attribute(key, CKA_LABEL), bytes("gost"));
        EXPECT_EQ(attribute(key, CKA_TOKEN), Bytes{CK_TRUE});
    }
    EXPECT_EQ(attribute(only(CKO_PUBLIC_KEY, "id"), CKA_VALUE).size(), 64U);
    EXPECT_EQ(attribute(only(CKO_PUBLIC_KEY, "id"), CKA_PRIVATE), Bytes{CK_FALSE});
    EXPECT_EQ(attribute(only(CKO_PRIVATE_KEY, "id"), CKA_PRIVATE), Bytes{CK_TRUE});
}

TEST_F(Gost, PrivateValueIsShownAsReadable)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "id");
    EXPECT_EQ(attribute(key, CKA_SENSITIVE), Bytes{CK_FALSE});
    EXPECT_EQ(attribute(key, CKA_EXTRACTABLE), Bytes{CK_TRUE});
    EXPECT_EQ(attribute(key, CKA_VALUE).size(), 32U);
}

TEST_F(Gost, GenerationTwiceMakesTwoPairs)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    ASSERT_CKR(generateGost("id"), CKR_OK);
    const auto keys = find(CKO_PUBLIC_KEY, "id");
    ASSERT_EQ(keys.size(), 2U);
    EXPECT_NE(attribute(keys[1], CKA_VALUE), attribute(keys[0], CKA_VALUE));
}

// One number in 256 begins with a zero, which GnuTLS leaves away.
TEST_F(Gost, ValuesHaveTheirFullLength)
{
    CK_MECHANISM mechanism = {CKM_GOSTR3410_KEY_PAIR_GEN, nullptr, 0};
    for (int i = 0; i < 500; ++i) {
        CK_OBJECT_HANDLE publicKey = 0;
        CK_OBJECT_HANDLE privateKey = 0;
        ASSERT_CKR(standard->C_GenerateKeyPair(session, &mechanism, nullptr, 0, nullptr, 0, &publicKey, &privateKey),
                   CKR_OK);
        ASSERT_EQ(attribute(publicKey, CKA_VALUE).size(), 64U);
        ASSERT_EQ(attribute(privateKey, CKA_VALUE).size(), 32U);
    }
}

TEST_F(Gost, GenerationThatFailsLeavesNothingBehind)
{
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_CLASS wrongClass = CKO_DATA;
    CK_KEY_TYPE wrongType = CKK_RSA;
    const CK_ATTRIBUTE onToken = {CKA_TOKEN, &yes, sizeof yes};
    EXPECT_CKR(generateWith({CKA_CLASS, &wrongClass, sizeof wrongClass}, onToken), CKR_TEMPLATE_INCONSISTENT);
    EXPECT_CKR(generateWith(onToken, {CKA_KEY_TYPE, &wrongType, sizeof wrongType}), CKR_TEMPLATE_INCONSISTENT);
    for (const CK_ATTRIBUTE_TYPE parameters : {CKA_GOSTR3410_PARAMS, CKA_GOSTR3411_PARAMS})
        EXPECT_CKR(generateWith({parameters, otherCurve.data(), otherCurve.size()}, onToken),
                   CKR_DOMAIN_PARAMS_INVALID);
    EXPECT_CKR(generateWith({CKA_LABEL, nullptr, 1}, onToken), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(generateWith(onToken, {CKA_MODULUS, otherCurve.data(), otherCurve.size()}), CKR_ATTRIBUTE_TYPE_INVALID)
        << "refused only after the public key was stored";
    EXPECT_EQ(objectCount(), 0U);
}

TEST_F(Gost, GenerationNeedsALoggedInUser)
{
    ASSERT_CKR(standard->C_Logout(session), CKR_OK);
    EXPECT_CKR(generateGost("id"), CKR_USER_NOT_LOGGED_IN);
    EXPECT_EQ(objectCount(), 0U);
}

TEST_P(GostAmongOthers, RequestsAreGood)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    Bytes csr;
    ASSERT_CKR(createCsr("id",
                         {{"CN", "Иван", "INN", "123456789012"},
                          {},
                          {"keyUsage", "critical", "digitalSignature", "subjectKeyIdentifier", "", "hash"}},
                         csr),
               CKR_OK);
    folder.write("request.der", csr);
    EXPECT_TRUE(verified(other.verifyRequest(folder)));
    const Outcome certtool = run(folder, {CERTTOOL_PROGRAM, "--crq-info", "--inder", "--infile", "request.der"});
    EXPECT_NE(certtool.out.find("GOST R 34.10-2001"), std::string::npos) << certtool.out;
    EXPECT_NE(certtool.out.find("Digital signature"), std::string::npos) << certtool.out;

    folder.write("request.der", spoiltAtTheEnd(csr));
    EXPECT_FALSE(verified(other.verifyRequest(folder)));
}

TEST_F(Gost, RequestsKeepTheirAnnouncedLength)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    Bytes first;
    ASSERT_CKR(createCsr("id", {}, first), CKR_OK);
    for (int i = 0; i < 100; ++i) {
        Bytes next;
        ASSERT_CKR(createCsr("id", {}, next), CKR_OK);
        ASSERT_EQ(next.size(), first.size());
    }
}

TEST_P(GostAmongOthers, MessagesEncloseTheirContent)
{
    issueGost("id", other);
    Bytes message;
    ASSERT_CKR(sign(content, "id", "id", enclosed, message), CKR_OK);
    EXPECT_TRUE(succeeded(verifiedByOther(message)));
    EXPECT_EQ(folder.read("verified"), content);
    EXPECT_CKR(verify(message), CKR_OK);
    EXPECT_TRUE(refused(verifiedByOther(spoiltAtTheEnd(message))));
    EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID);
}

TEST_P(GostAmongOthers, MessagesStandApartFromTheirContentWhenDetached)
{
    issueGost("id", other);
    Bytes message;
    ASSERT_CKR(sign(content, "id", "id", detached, message), CKR_OK);
    folder.write("content", content);
    folder.write("other", bytes("other"));
    EXPECT_TRUE(succeeded(verifiedByOther(message, "content")));
    EXPECT_TRUE(refused(verifiedByOther(message, "other")));
    EXPECT_CKR(verify(message, content), CKR_OK);
    EXPECT_CKR(verify(message, bytes("other")), CKR_SIGNATURE_INVALID);
}

TEST_P(GostAmongOthers, MessagesNameTheirAlgorithmsAlike)
{
    issueGost("id", other);
    Bytes message;
    ASSERT_CKR(sign(content, "id", "id", enclosed, message), CKR_OK);
    ASSERT_TRUE(succeeded(other.makeSigner(folder)));
    const Bytes others = messageOfOther(GostProgram::Attributes::None);

    // Signature and algorithms stand at the end, the content's digest algorithm before the content.
    constexpr std::ptrdiff_t signatureLength = 66;
    constexpr std::ptrdiff_t algorithmsLength = 24;
    const auto algorithms = [](const Bytes& der) {
        return Bytes(der.end() - signatureLength - algorithmsLength, der.end() - signatureLength);
    };
    const auto digestAlgorithm = [&](const Bytes& der) {
        const auto at = std::search(der.begin(), der.end(), content.begin(), content.end());
        return Bytes(at - 31, at);
    };
    EXPECT_EQ(algorithms(message), algorithms(others));
    EXPECT_EQ(digestAlgorithm(message), digestAlgorithm(others));
}

TEST_P(GostAmongOthers, MessagesAreGoodInCerttool)
{
    issueGost("id", other);
    Bytes message;
    ASSERT_CKR(sign(content, "id", "id", enclosed, message), CKR_OK);
    ASSERT_TRUE(succeeded(openssl(folder, {"x509", "-inform", "DER", "-in", "issued.der", "-out", "issued.pem"})));
    const auto verdict = [&](const Bytes& der) {
        folder.write("message.der", der);
        // GnuTLS counts the digest among the broken ones.
        return run(folder, {CERTTOOL_PROGRAM, "--p7-verify", "--verify-allow-broken", "--inder", "--infile",
                            "message.der", "--load-certificate", "issued.pem"});
    };
    EXPECT_TRUE(succeeded(verdict(message)));
    EXPECT_TRUE(refused(verdict(spoiltAtTheEnd(message))));
}

TEST_P(GostAmongOthers, MessagesOfOthersAreJudged)
{
    ASSERT_TRUE(succeeded(other.makeSigner(folder)));
    for (const auto attributes : {GostProgram::Attributes::Signed, GostProgram::Attributes::None}) {
        const Bytes message = messageOfOther(attributes);
        EXPECT_CKR(verify(message), CKR_OK);
        EXPECT_CKR(verify(message, content), CKR_OK);
        EXPECT_CKR(verify(spoilt(message, content)), CKR_SIGNATURE_INVALID);
        EXPECT_CKR(verify(spoilt(message, content), content), CKR_SIGNATURE_INVALID);
        EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID);
    }
}

// They name the algorithms as this token did before it took the names of RFC 4490.
TEST_P(GostAmongOthers, MessagesOfCerttoolAreJudged)
{
    folder.write("content", content);
    ASSERT_TRUE(succeeded(other.makeSigner(folder)));
    ASSERT_TRUE(succeeded(run(folder, {CERTTOOL_PROGRAM, "--p7-sign", "--load-certificate", "own.pem", "--load-privkey",
                                       "own.key", "--infile", "content", "--outder", "--outfile", "own.der"})));
    const Bytes message = folder.read("own.der");
    EXPECT_CKR(verify(message), CKR_OK);
    EXPECT_CKR(verify(spoilt(message, content)), CKR_SIGNATURE_INVALID);
    EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID);
}

TEST_P(GostAmongOthers, KeysBelongToTheirOwnCertificatesOnly)
{
    issueGost("id", other);
    ASSERT_CKR(generateGost("other"), CKR_OK);
    Bytes message;
    EXPECT_CKR(sign(content, "id", "other", enclosed, message), CKR_KEY_TYPE_INCONSISTENT);
    Bytes csr;
    EXPECT_CKR(createCsr(only(CKO_PUBLIC_KEY, "id"), only(CKO_PRIVATE_KEY, "other"), {}, csr),
               CKR_KEY_TYPE_INCONSISTENT);
}

TEST_F(Gost, KeysOfAnotherCurveAreRefused)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    const auto onOtherCurve = [&](CK_OBJECT_CLASS objectClass) {
        CK_KEY_TYPE type = CKK_GOSTR3410;
        Bytes value = attribute(only(objectClass, "id"), CKA_VALUE);
        return create({{CKA_CLASS, &objectClass, sizeof objectClass},
                       {CKA_KEY_TYPE, &type, sizeof type},
                       {CKA_GOSTR3410_PARAMS, otherCurve.data(), otherCurve.size()},
                       {CKA_GOSTR3411_PARAMS, otherCurve.data(), otherCurve.size()},
                       {CKA_VALUE, value.data(), value.size()}});
    };
    Bytes csr;
    EXPECT_CKR(createCsr(onOtherCurve(CKO_PUBLIC_KEY), only(CKO_PRIVATE_KEY, "id"), {}, csr),
               CKR_DOMAIN_PARAMS_INVALID);
    EXPECT_CKR(createCsr(only(CKO_PUBLIC_KEY, "id"), onOtherCurve(CKO_PRIVATE_KEY), {}, csr),
               CKR_DOMAIN_PARAMS_INVALID);
}

} // namespace
} // namespace endtoend
