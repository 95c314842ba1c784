// SPDX-License-Identifier: Apache-2.0
// PKCS #7 messages: the token's judged by openssl, openssl's judged by the token.
#include "tests/endtoend/softtoken/soft_token.h"

#include <algorithm>

namespace endtoend {
namespace {

constexpr CK_ULONG enclosed = 0;
constexpr CK_ULONG detached = 1;

class Messages : public TokenTest {
protected:
    void SetUp() override
    {
        TokenTest::SetUp();
        certificate = issue("rsa");
    }

    Bytes signedBy(const std::string& id, CK_ULONG flags, std::vector<std::string> furtherIds = {})
    {
        Bytes message;
        EXPECT_CKR(sign(content, id, id, flags, message, std::move(furtherIds)), CKR_OK);
        return message;
    }

    Outcome opensslVerify(const Bytes& message, std::vector<std::string> more = {})
    {
        folder.write("message.der", message);
        std::vector<std::string> arguments = {"cms", "-verify",     "-binary", "-inform", "DER",
                                              "-in", "message.der", "-CAfile", "ca.pem",  "-purpose",
                                              "any", "-out",        "verified"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return openssl(folder, std::move(arguments));
    }

    /// A message made by openssl with a key pair of its own.
    Bytes opensslSign(std::vector<std::string> more, const std::string& extension = "keyUsage=digitalSignature")
    {
        EXPECT_TRUE(succeeded(
            openssl(folder, {"req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=Signer", "-set_serial", "1",
                             "-addext", extension, "-keyout", "own.key", "-out", "own.pem"})));
        folder.write("content", content);
        std::vector<std::string> arguments = {"cms",    "-sign",   "-binary",  "-in", "content", "-signer", "own.pem",
                                              "-inkey", "own.key", "-outform", "DER", "-out",    "own.der"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_TRUE(succeeded(openssl(folder, std::move(arguments))));
        return folder.read("own.der");
    }

    const Bytes content = bytes("content to be signed\r\n\x01\x02");
    Bytes certificate;
};

TEST_F(Messages, EncloseTheirContent)
{
    const Bytes message = signedBy("rsa", enclosed);
    EXPECT_TRUE(succeeded(opensslVerify(message)));
    EXPECT_EQ(folder.read("verified"), content);
    EXPECT_TRUE(succeeded(openssl(folder, {"smime", "-verify", "-binary", "-inform", "DER", "-in", "message.der",
                                           "-CAfile", "ca.pem", "-purpose", "any", "-out", "smime"})));
    EXPECT_EQ(folder.read("smime"), content);
    EXPECT_CKR(verify(message), CKR_OK);
    EXPECT_CKR(verify(message, content), CKR_OK) << "the same content named again";
    EXPECT_CKR(verify(message, bytes("other")), CKR_SIGNATURE_INVALID);
}

TEST_F(Messages, StandApartFromTheirContentWhenDetached)
{
    const Bytes message = signedBy("rsa", detached);
    folder.write("content", content);
    folder.write("other", bytes("other"));
    EXPECT_TRUE(succeeded(opensslVerify(message, {"-content", "content"})));
    EXPECT_TRUE(refused(opensslVerify(message, {"-content", "other"})));
    EXPECT_CKR(verify(message, content), CKR_OK);
    EXPECT_CKR(verify(message, bytes("other")), CKR_SIGNATURE_INVALID);
    EXPECT_CKR(verify(message), CKR_SIGNATURE_INVALID);
}

TEST_F(Messages, CarryTheSignersAndTheFurtherCertificatesOnce)
{
    const Bytes second = issue("second");
    const Bytes message = signedBy("rsa", enclosed, {"second", "rsa", "second"});
    EXPECT_TRUE(succeeded(opensslVerify(message, {"-certsout", "certificates.pem"})));
    const Bytes pem = folder.read("certificates.pem");
    const std::string text(pem.begin(), pem.end());
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find("BEGIN CERTIFICATE", at)) != std::string::npos; ++at)
        ++count;
    EXPECT_EQ(count, 2U);
    const auto holds = [&](const Bytes& der) {
        return std::search(message.begin(), message.end(), der.begin(), der.end()) != message.end();
    };
    EXPECT_TRUE(holds(certificate));
    EXPECT_TRUE(holds(second));
}

TEST_F(Messages, RefuseAnotherModeWord)
{
    Bytes message;
    for (const CK_ULONG flags : {CK_ULONG{2}, CK_ULONG{3}, CK_ULONG{1} << 32, ~CK_ULONG{0}})
        EXPECT_CKR(sign(content, "rsa", "rsa", flags, message), CKR_ARGUMENTS_BAD) << flags;
}

TEST_F(Messages, RefuseEmptyContent)
{
    Bytes message;
    EXPECT_CKR(sign({}, "rsa", "rsa", enclosed, message), CKR_DATA_LEN_RANGE);
    EXPECT_CKR(sign({}, "rsa", "rsa", detached, message), CKR_DATA_LEN_RANGE);
}

TEST_F(Messages, NeedTheKeyOfTheCertificate)
{
    ASSERT_CKR(generateRsa("other"), CKR_OK);
    ASSERT_CKR(generateGost("gost"), CKR_OK);
    Bytes message;
    EXPECT_CKR(sign(content, "rsa", "other", enclosed, message), CKR_KEY_TYPE_INCONSISTENT);
    EXPECT_CKR(sign(content, "rsa", "gost", enclosed, message), CKR_KEY_TYPE_INCONSISTENT);
    EXPECT_TRUE(message.empty());
}

TEST_F(Messages, NeedObjectsOfTheRightKind)
{
    const CK_OBJECT_HANDLE signer = only(CKO_CERTIFICATE, "rsa");
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "rsa");
    Bytes data = content;
    const auto call = [&](CK_OBJECT_HANDLE hCertificate, CK_OBJECT_HANDLE hKey, std::vector<CK_OBJECT_HANDLE> further) {
        CK_ULONG length = 0;
        return module->C_TOVR_pkcs7Sign(session, data.data(), data.size(), hCertificate, nullptr, &length, hKey,
                                        further.data(), further.size(), enclosed);
    };
    EXPECT_CKR(call(signer, key, {signer}), CKR_OK);
    EXPECT_CKR(call(0, key, {}), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_CKR(call(key, key, {}), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_CKR(call(signer, key, {0}), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_CKR(call(signer, key, {signer, key}), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_CKR(call(9999, key, {}), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_CKR(call(signer, 0, {}), CKR_KEY_HANDLE_INVALID);
    EXPECT_CKR(call(signer, signer, {}), CKR_KEY_HANDLE_INVALID);
}

TEST_F(Messages, AreNotCutToAShortBuffer)
{
    Bytes data = content;
    const CK_OBJECT_HANDLE signer = only(CKO_CERTIFICATE, "rsa");
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "rsa");
    expectWholeOutputs([&](CK_BYTE_PTR buffer, CK_ULONG_PTR length) {
        return module->C_TOVR_pkcs7Sign(session, data.data(), data.size(), signer, buffer, length, key, nullptr, 0,
                                        enclosed);
    });
}

TEST_F(Messages, HaveTheirSignatureJudgedByteForByte)
{
    const Bytes message = signedBy("rsa", enclosed);
    EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID) << "the signature";
    EXPECT_CKR(verify(spoilt(message, content)), CKR_SIGNATURE_INVALID) << "the content";
}

TEST_F(Messages, OfOpensslAreJudged)
{
    const Bytes whole = opensslSign({"-nodetach"});
    EXPECT_CKR(verify(whole), CKR_OK);
    EXPECT_CKR(verify(spoilt(whole, content)), CKR_SIGNATURE_INVALID);
    const Bytes apart = opensslSign({});
    EXPECT_CKR(verify(apart, content), CKR_OK);
    EXPECT_CKR(verify(apart, bytes("other")), CKR_SIGNATURE_INVALID);
    EXPECT_CKR(verify(opensslSign({"-nodetach", "-noattr"})), CKR_OK);
    EXPECT_CKR(verify(opensslSign({"-nodetach", "-keyid"})), CKR_OK);
    EXPECT_CKR(verify(opensslSign({"-nodetach", "-md", "sha512"})), CKR_OK);
    EXPECT_CKR(verify(opensslSign({"-nodetach", "-stream"})), CKR_OK) << "lengths left open";
    EXPECT_CKR(verify(opensslSign({"-nodetach", "-md", "md5"})), CKR_SIGNATURE_INVALID) << "too weak";
}

// openssl sorts a message's certificates: that of the small key comes first.
TEST_F(Messages, AreJudgedByTheirSignersCertificateAmongOthers)
{
    const auto withOther = [&](const std::string& subject, const std::string& serial, std::vector<std::string> more) {
        EXPECT_TRUE(succeeded(
            openssl(folder, {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj",
                             subject, "-set_serial", serial, "-keyout", "other.key", "-out", "other.pem"})));
        more.insert(more.end(), {"-nodetach", "-certfile", "other.pem"});
        return opensslSign(std::move(more));
    };
    EXPECT_CKR(verify(withOther("/CN=Signer", "2", {})), CKR_OK) << "of the same issuer";
    EXPECT_CKR(verify(withOther("/CN=Other", "1", {})), CKR_OK) << "with the same serial number";
    EXPECT_CKR(verify(withOther("/CN=Signer", "1", {"-keyid"})), CKR_OK) << "told apart by the key alone";
}

TEST_F(Messages, AreJudgedWhateverTheirCertificateIsFor)
{
    EXPECT_CKR(verify(opensslSign({"-nodetach"}, "keyUsage=nonRepudiation")), CKR_OK);
}

TEST_F(Messages, OfSeveralSignersNeedEverySignature)
{
    EXPECT_TRUE(succeeded(openssl(folder, {"req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=Other",
                                           "-keyout", "other.key", "-out", "other.pem"})));
    const Bytes both = opensslSign({"-nodetach", "-noattr", "-signer", "other.pem", "-inkey", "other.key"});
    EXPECT_CKR(verify(both), CKR_OK);
    for (const char* key : {"own.key", "other.key"}) {
        EXPECT_TRUE(succeeded(openssl(folder, {"dgst", "-sha256", "-sign", key, "-out", "signature", "content"})));
        EXPECT_CKR(verify(spoilt(both, folder.read("signature"))), CKR_SIGNATURE_INVALID) << key;
    }
}

TEST_F(Messages, WithoutTheSignersCertificateOrASignatureAreNotGood)
{
    EXPECT_CKR(verify(opensslSign({"-nodetach", "-nocerts"})), CKR_SIGNATURE_INVALID);
    EXPECT_TRUE(succeeded(
        openssl(folder, {"crl2pkcs7", "-nocrl", "-certfile", "ca.pem", "-outform", "DER", "-out", "unsigned.der"})));
    EXPECT_CKR(verify(folder.read("unsigned.der")), CKR_SIGNATURE_INVALID);
}

TEST_F(Messages, ThatCannotBeReadAreToldApart)
{
    const Bytes message = signedBy("rsa", enclosed);
    Bytes longer = message;
    longer.push_back(0);
    EXPECT_CKR(verify(longer), CKR_DATA_INVALID);
    EXPECT_CKR(verify(Bytes(message.begin(), message.end() - 1)), CKR_DATA_INVALID);
    EXPECT_CKR(verify(certificate), CKR_DATA_INVALID);
    EXPECT_CKR(verify(bytes("nonsense")), CKR_DATA_INVALID);
    EXPECT_CKR(verify({}), CKR_DATA_INVALID);
    folder.write("message.der", message);
    EXPECT_TRUE(succeeded(openssl(
        folder, {"cms", "-cmsout", "-inform", "DER", "-in", "message.der", "-outform", "PEM", "-out", "message.pem"})));
    EXPECT_CKR(verify(folder.read("message.pem")), CKR_DATA_INVALID);
    EXPECT_CKR(module->C_TOVR_pkcs7Verify(nullptr, 1, nullptr, 0), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(module->C_TOVR_pkcs7Verify(longer.data(), longer.size(), nullptr, 1), CKR_ARGUMENTS_BAD);
}

TEST_F(Messages, AreJudgedWithoutASession)
{
    const Bytes message = signedBy("rsa", enclosed);
    ASSERT_CKR(standard->C_CloseSession(session), CKR_OK);
    EXPECT_CKR(verify(message), CKR_OK);
}

TEST_F(Messages, NeedALoggedInUser)
{
    Bytes data = content;
    const CK_OBJECT_HANDLE signer = only(CKO_CERTIFICATE, "rsa");
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "rsa");
    ASSERT_CKR(standard->C_Logout(session), CKR_OK);
    CK_ULONG length = 0;
    EXPECT_CKR(module->C_TOVR_pkcs7Sign(session, data.data(), data.size(), signer, nullptr, &length, key, nullptr, 0,
                                        enclosed),
               CKR_USER_NOT_LOGGED_IN);
}

} // namespace
} // namespace endtoend
