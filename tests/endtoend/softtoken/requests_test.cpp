// SPDX-License-Identifier: Apache-2.0
// Certificate requests, judged by openssl and certtool.
#include "tests/endtoend/softtoken/soft_token.h"

namespace endtoend {
namespace {

class Requests : public TokenTest {
protected:
    void SetUp() override
    {
        TokenTest::SetUp();
        ASSERT_CKR(generateRsa("rsa"), CKR_OK);
    }

    /// What openssl prints of a request whose signature it has verified.
    std::string printed(const RequestText& text, const std::string& id = "rsa")
    {
        Bytes csr;
        EXPECT_CKR(createCsr(id, text, csr), CKR_OK);
        folder.write("request.der", csr);
        const Outcome outcome = openssl(folder, {"req", "-inform", "DER", "-in", "request.der", "-verify", "-noout",
                                                 "-text", "-nameopt", "RFC2253,-esc_msb,utf8"});
        EXPECT_TRUE(verified(outcome));
        return outcome.out;
    }

    CK_RV attempt(const RequestText& text)
    {
        Bytes csr;
        const CK_RV rv = createCsr("rsa", text, csr);
        EXPECT_EQ(!csr.empty(), rv == CKR_OK);
        return rv;
    }
};

#define EXPECT_TOLD(part, whole) EXPECT_NE((whole).find(part), std::string::npos) << (whole)

TEST_F(Requests, AreSignedByTheTokensKey)
{
    const std::string text = printed({});
    EXPECT_TOLD("Subject: O=Vornix,CN=Ivan Token", text);
    EXPECT_TOLD("sha256WithRSAEncryption", text);
    EXPECT_TOLD("Public-Key: (1024 bit)", text);
    const Outcome certtool = run(folder, {CERTTOOL_PROGRAM, "--crq-info", "--inder", "--infile", "request.der"});
    EXPECT_TRUE(succeeded(certtool));
    EXPECT_TOLD("Self signature: verified", certtool.out);
}

TEST_F(Requests, AreSignedByALongKeyToo)
{
    ASSERT_CKR(generateRsa("long", 2048), CKR_OK);
    EXPECT_TOLD("Public-Key: (2048 bit)", printed({}, "long"));
}

TEST_F(Requests, TakeSubjectsByShortNameAndDottedOid)
{
    EXPECT_TOLD("Subject: 1.3.6.1.4.1.99999.1=#0C036F776E,CN=Иван,C=RU",
                printed({{"C", "RU", "2.5.4.3", "Иван", "1.3.6.1.4.1.99999.1", "own"}, {}, {}}));
}

TEST_F(Requests, MayHaveAnEmptySubject)
{
    EXPECT_TOLD("Subject: \n", printed({{}, {}, {}}));
}

TEST_F(Requests, LeaveAnIncompletePairOut)
{
    EXPECT_TOLD("Subject: CN=Whole\n", printed({{"CN", "Whole", "O"}, {}, {}}));
}

TEST_F(Requests, CarryAttributes)
{
    const std::string text =
        printed({{"CN", "x"}, {"challengePassword", "secret", "1.3.6.1.4.1.99999.2", "значение"}, {}});
    EXPECT_TOLD("challengePassword        :secret", text);
    EXPECT_TOLD("1.3.6.1.4.1.99999.2", text);
}

TEST_F(Requests, CarryExtensions)
{
    const std::string text = printed({{"CN", "x"},
                                      {},
                                      {"keyUsage", "critical", "digitalSignature,nonRepudiation",        //
                                       "subjectAltName", "", "DNS:host.example,email:user@host.example", //
                                       "2.5.29.37", "", "clientAuth",                                    //
                                       "subjectKeyIdentifier", "", "hash",                               //
                                       "certificatePolicies", "", "1.3.6.1.4.1.99999.4",                 //
                                       "1.3.6.1.4.1.99999.3", "critical", "DER:04:03:01:02:03"}});
    EXPECT_TOLD("X509v3 Key Usage: critical\n                    Digital Signature, Non Repudiation", text);
    EXPECT_TOLD("X509v3 Subject Alternative Name: \n                    DNS:host.example, email:user@host.example",
                text);
    EXPECT_TOLD("TLS Web Client Authentication", text);
    EXPECT_TOLD("X509v3 Subject Key Identifier", text);
    EXPECT_TOLD("Policy: 1.3.6.1.4.1.99999.4", text);
    EXPECT_TOLD("1.3.6.1.4.1.99999.3: critical", text);
}

TEST_F(Requests, RefuseTextThatMeansNothing)
{
    const std::vector<RequestText> meaningless = {
        {{"NoSuchName", "x"}, {}, {}},
        {{"1.2.x", "x"}, {}, {}},
        {{"", "x"}, {}, {}},
        {{"CN", ""}, {}, {}},
        {{"CN", "\xff\xfe"}, {}, {}},
        {{"CN", "\xc0\x80"}, {}, {}},
        {{"CN", "\xed\xa0\xbd\xed\xb8\x80"}, {}, {}},
        {{"C", "Russia"}, {}, {}},
        {{"CN", "x"}, {"noSuchAttribute", "x"}, {}},
        {{"CN", "x"}, {"challengePassword", "\xff"}, {}},
        {{"CN", "x"}, {"extReq", "x"}, {}},
        {{"CN", "x"}, {"challengePassword", "one", "1.2.840.113549.1.9.7", "two"}, {}},
        {{"CN", "x"}, {}, {"noSuchExtension", "", "x"}},
        {{"CN", "x"}, {}, {"keyUsage", "", "noSuchUsage"}},
        {{"CN", "x"}, {}, {"keyUsage", "perhaps", "digitalSignature"}},
        {{"CN", "x"}, {}, {"1.3.6.1.4.1.99999.3", "", "text"}},
        {{"CN", "x"}, {}, {"1.3.6.1.4.1.99999.3", "", "DER:04zz"}},
        {{"CN", "x"}, {}, {"authorityKeyIdentifier", "", "keyid:always"}},
        {{"CN", "x"}, {}, {"keyUsage", "", "digitalSignature", "2.5.29.15", "", "keyCertSign"}},
    };
    for (const RequestText& text : meaningless)
        EXPECT_CKR(attempt(text), CKR_ARGUMENTS_BAD)
            << testing::PrintToString(text.subject) << testing::PrintToString(text.attributes)
            << testing::PrintToString(text.extensions);
}

TEST_F(Requests, RefuseOtherCharactersWhereOnlyAsciiMayStand)
{
    const std::vector<std::vector<std::string>> others = {
        {"subjectAltName", "", "DNS:хост.example"},
        {"subjectAltName", "", "DNS:host.example,email:иван@host.example"},
        {"issuerAltName", "", "URI:http://хост.example"},
        {"nameConstraints", "", "permitted;DNS:хост.example"},
        {"authorityInfoAccess", "", "OCSP;URI:http://хост.example"},
        {"crlDistributionPoints", "", "URI:http://хост.example"},
        {"nsComment", "", "Иван"},
        {"subjectAltName", "", "otherName:1.2.3.4;UTF8:Иван"},
        {"1.2.3.4", "", "ASN1:UTF8String:Иван"},
        {"1.2.3.4", "", "ASN1:FORMAT:UTF8,IA5:Иван"},
    };
    for (const auto& extension : others)
        EXPECT_CKR(attempt({{"CN", "x"}, {}, extension}), CKR_ARGUMENTS_BAD) << extension.at(2);
    EXPECT_CKR(attempt({{"emailAddress", "иван@host.example"}, {}, {}}), CKR_ARGUMENTS_BAD);
    EXPECT_TOLD("DNS:xn--n1aeec.example", printed({{"CN", "x"}, {}, {"subjectAltName", "", "DNS:xn--n1aeec.example"}}));
}

TEST_F(Requests, TakeNoAddressesOutOfTheirSubject)
{
    for (const char* value : {"email:copy", "email:move", "DNS:host.example, email : move", "email.1:move"})
        EXPECT_CKR(attempt({{"emailAddress", "user@host.example"}, {}, {"subjectAltName", "", value}}),
                   CKR_ARGUMENTS_BAD)
            << value;
}

TEST_F(Requests, CarryExtensionsByTheirEncoding)
{
    (void)printed({{"CN", "x"},
                   {},
                   {"1.2.3.4", "", "ASN1:FORMAT:UTF8,UTF8String:Иван", //
                    "1.2.3.5", "critical", "ASN1:OCTETSTRING:text",    //
                    "1.2.3.6", "", "DER:0403010203"}});                // the verdict counts; the bytes are read below
    const Outcome parsed = openssl(folder, {"asn1parse", "-inform", "DER", "-in", "request.der"});
    EXPECT_TRUE(succeeded(parsed));
    EXPECT_TOLD("[HEX DUMP]:0C08D098D0B2D0B0D0BD", parsed.out);
    EXPECT_TOLD("[HEX DUMP]:040474657874", parsed.out);
    EXPECT_TOLD("[HEX DUMP]:0403010203", parsed.out);
}

TEST_F(Requests, ReadNoConfigurationOfThisMachine)
{
    for (const char* name : {"subjectAltName", "certificatePolicies", "extendedKeyUsage", "crlDistributionPoints"})
        EXPECT_CKR(attempt({{"CN", "x"}, {}, {name, "", "@section"}}), CKR_ARGUMENTS_BAD) << name;
    EXPECT_CKR(attempt({{"CN", "x"}, {}, {"subjectAltName", "", "dirName:section"}}), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(attempt({{"CN", "x"}, {}, {"1.2.3.4", "", "ASN1:SEQUENCE:section"}}), CKR_ARGUMENTS_BAD);
}

TEST_F(Requests, NeedKeysThatBelongTogether)
{
    ASSERT_CKR(generateRsa("other"), CKR_OK);
    ASSERT_CKR(generateGost("gost"), CKR_OK);
    const CK_OBJECT_HANDLE publicKey = only(CKO_PUBLIC_KEY, "rsa");
    const CK_OBJECT_HANDLE privateKey = only(CKO_PRIVATE_KEY, "rsa");
    Bytes csr;
    EXPECT_CKR(createCsr(publicKey, only(CKO_PRIVATE_KEY, "other"), {}, csr), CKR_KEY_TYPE_INCONSISTENT);
    EXPECT_CKR(createCsr(publicKey, only(CKO_PRIVATE_KEY, "gost"), {}, csr), CKR_KEY_TYPE_INCONSISTENT);
    EXPECT_CKR(createCsr(only(CKO_PUBLIC_KEY, "gost"), privateKey, {}, csr), CKR_KEY_TYPE_INCONSISTENT);
    CK_OBJECT_CLASS objectClass = CKO_PUBLIC_KEY;
    CK_KEY_TYPE type = CKK_RSA;
    Bytes modulus = attribute(publicKey, CKA_MODULUS);
    CK_BYTE exponent = 3;
    const CK_OBJECT_HANDLE otherExponent = create({{CKA_CLASS, &objectClass, sizeof objectClass},
                                                   {CKA_KEY_TYPE, &type, sizeof type},
                                                   {CKA_MODULUS, modulus.data(), modulus.size()},
                                                   {CKA_PUBLIC_EXPONENT, &exponent, sizeof exponent}});
    EXPECT_CKR(createCsr(otherExponent, privateKey, {}, csr), CKR_KEY_TYPE_INCONSISTENT);
    EXPECT_CKR(createCsr(only(CKO_PRIVATE_KEY, "rsa"), only(CKO_PUBLIC_KEY, "rsa"), {}, csr), CKR_KEY_HANDLE_INVALID);
    EXPECT_CKR(createCsr(0, privateKey, {}, csr), CKR_KEY_HANDLE_INVALID);
    EXPECT_CKR(createCsr(publicKey, 0, {}, csr), CKR_KEY_HANDLE_INVALID);
    EXPECT_CKR(createCsr(publicKey, 9999, {}, csr), CKR_KEY_HANDLE_INVALID);
    EXPECT_TRUE(csr.empty());
}

TEST_F(Requests, PassOnWhyTheTokenDoesNotSign)
{
    CK_BBOOL no = CK_FALSE;
    CK_ATTRIBUTE change = {CKA_SIGN, &no, sizeof no};
    ASSERT_CKR(standard->C_SetAttributeValue(session, only(CKO_PRIVATE_KEY, "rsa"), &change, 1), CKR_OK);
    EXPECT_CKR(attempt({}), CKR_KEY_FUNCTION_NOT_PERMITTED);
}

TEST_F(Requests, AreNotCutToAShortBuffer)
{
    const CK_OBJECT_HANDLE publicKey = only(CKO_PUBLIC_KEY, "rsa");
    const CK_OBJECT_HANDLE privateKey = only(CKO_PRIVATE_KEY, "rsa");
    expectWholeOutputs([&](CK_BYTE_PTR buffer, CK_ULONG_PTR length) {
        return module->C_TOVR_CreateCSR(session, publicKey, nullptr, 0, buffer, length, privateKey, nullptr, 0, nullptr,
                                        0);
    });
}

TEST_F(Requests, WithNullPointersAreRefused)
{
    const CK_OBJECT_HANDLE publicKey = only(CKO_PUBLIC_KEY, "rsa");
    const CK_OBJECT_HANDLE privateKey = only(CKO_PRIVATE_KEY, "rsa");
    const auto call = [&](CK_ULONG subjects, CK_ULONG attributes, CK_ULONG extensions) {
        CK_ULONG length = 0;
        return module->C_TOVR_CreateCSR(session, publicKey, nullptr, subjects, nullptr, &length, privateKey, nullptr,
                                        attributes, nullptr, extensions);
    };
    EXPECT_CKR(call(0, 0, 0), CKR_OK);
    EXPECT_CKR(call(1, 0, 0), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(call(0, 1, 0), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(call(0, 0, 1), CKR_ARGUMENTS_BAD);
}

TEST_F(Requests, NeedALoggedInUser)
{
    const CK_OBJECT_HANDLE publicKey = only(CKO_PUBLIC_KEY, "rsa");
    const CK_OBJECT_HANDLE privateKey = only(CKO_PRIVATE_KEY, "rsa");
    ASSERT_CKR(standard->C_Logout(session), CKR_OK);
    Bytes csr;
    EXPECT_CKR(createCsr(publicKey, privateKey, {}, csr), CKR_USER_NOT_LOGGED_IN);
}

} // namespace
} // namespace endtoend
