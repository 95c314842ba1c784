// PKCS #7 messages: the token's judged by openssl, openssl's judged by the token.
#include "tests/endtoend/softtoken/soft_token.h"

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
        EXPECT_CKR(CKR_OK, sign(content, id, id, flags, message, std::move(furtherIds)));
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
            openssl(folder, {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Signer", "-set_serial", "1",
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
    EXPECT_EQ(content, folder.read("verified"));
    EXPECT_TRUE(succeeded(openssl(folder, {"smime", "-verify", "-binary", "-inform", "DER", "-in", "message.der",
                                           "-CAfile", "ca.pem", "-purpose", "any", "-out", "smime"})));
    EXPECT_EQ(content, folder.read("smime"));
    EXPECT_CKR(CKR_OK, verify(message));
    EXPECT_CKR(CKR_OK, verify(message, content)) << "the same content named again";
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(message, bytes("other")));
}

TEST_F(Messages, StandApartFromTheirContentWhenDetached)
{
    const Bytes message = signedBy("rsa", detached);
    folder.write("content", content);
    folder.write("other", bytes("other"));
    EXPECT_TRUE(succeeded(opensslVerify(message, {"-content", "content"})));
    EXPECT_TRUE(refused(opensslVerify(message, {"-content", "other"})));
    EXPECT_CKR(CKR_OK, verify(message, content));
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(message, bytes("other")));
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(message));
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
    EXPECT_EQ(2U, count);
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
        EXPECT_CKR(CKR_ARGUMENTS_BAD, sign(content, "rsa", "rsa", flags, message)) << flags;
}

TEST_F(Messages, RefuseEmptyContent)
{
    Bytes message;
    EXPECT_CKR(CKR_DATA_LEN_RANGE, sign({}, "rsa", "rsa", enclosed, message));
    EXPECT_CKR(CKR_DATA_LEN_RANGE, sign({}, "rsa", "rsa", detached, message));
}

TEST_F(Messages, NeedTheKeyOfTheCertificate)
{
    ASSERT_CKR(CKR_OK, generateRsa("other"));
    ASSERT_CKR(CKR_OK, generateGost("gost"));
    Bytes message;
    EXPECT_CKR(CKR_KEY_TYPE_INCONSISTENT, sign(content, "rsa", "other", enclosed, message));
    EXPECT_CKR(CKR_KEY_TYPE_INCONSISTENT, sign(content, "rsa", "gost", enclosed, message));
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
    EXPECT_CKR(CKR_OK, call(signer, key, {signer}));
    EXPECT_CKR(CKR_OBJECT_HANDLE_INVALID, call(0, key, {}));
    EXPECT_CKR(CKR_OBJECT_HANDLE_INVALID, call(key, key, {}));
    EXPECT_CKR(CKR_OBJECT_HANDLE_INVALID, call(signer, key, {0}));
    EXPECT_CKR(CKR_OBJECT_HANDLE_INVALID, call(signer, key, {signer, key}));
    EXPECT_CKR(CKR_OBJECT_HANDLE_INVALID, call(9999, key, {}));
    EXPECT_CKR(CKR_KEY_HANDLE_INVALID, call(signer, 0, {}));
    EXPECT_CKR(CKR_KEY_HANDLE_INVALID, call(signer, signer, {}));
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
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(spoiltAtTheEnd(message))) << "the signature";
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(spoilt(message, content))) << "the content";
}

TEST_F(Messages, OfOpensslAreJudged)
{
    const Bytes whole = opensslSign({"-nodetach"});
    EXPECT_CKR(CKR_OK, verify(whole));
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(spoilt(whole, content)));
    const Bytes apart = opensslSign({});
    EXPECT_CKR(CKR_OK, verify(apart, content));
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(apart, bytes("other")));
    EXPECT_CKR(CKR_OK, verify(opensslSign({"-nodetach", "-noattr"})));
    EXPECT_CKR(CKR_OK, verify(opensslSign({"-nodetach", "-keyid"})));
    EXPECT_CKR(CKR_OK, verify(opensslSign({"-nodetach", "-md", "sha512"})));
    EXPECT_CKR(CKR_OK, verify(opensslSign({"-nodetach", "-stream"}))) << "lengths left open";
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(opensslSign({"-nodetach", "-md", "md5"}))) << "too weak";
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
    EXPECT_CKR(CKR_OK, verify(withOther("/CN=Signer", "2", {}))) << "of the same issuer";
    EXPECT_CKR(CKR_OK, verify(withOther("/CN=Other", "1", {}))) << "with the same serial number";
    EXPECT_CKR(CKR_OK, verify(withOther("/CN=Signer", "1", {"-keyid"}))) << "told apart by the key alone";
}

TEST_F(Messages, AreJudgedWhateverTheirCertificateIsFor)
{
    EXPECT_CKR(CKR_OK, verify(opensslSign({"-nodetach"}, "keyUsage=nonRepudiation")));
}

TEST_F(Messages, OfSeveralSignersNeedEverySignature)
{
    EXPECT_TRUE(succeeded(openssl(folder, {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Other",
                                           "-keyout", "other.key", "-out", "other.pem"})));
    const Bytes both = opensslSign({"-nodetach", "-noattr", "-signer", "other.pem", "-inkey", "other.key"});
    EXPECT_CKR(CKR_OK, verify(both));
    for (const char* key : {"own.key", "other.key"}) {
        EXPECT_TRUE(succeeded(openssl(folder, {"dgst", "-sha256", "-sign", key, "-out", "signature", "content"})));
        EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(spoilt(both, folder.read("signature")))) << key;
    }
}

TEST_F(Messages, WithoutTheSignersCertificateOrASignatureAreNotGood)
{
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(opensslSign({"-nodetach", "-nocerts"})));
    EXPECT_TRUE(succeeded(
        openssl(folder, {"crl2pkcs7", "-nocrl", "-certfile", "ca.pem", "-outform", "DER", "-out", "unsigned.der"})));
    EXPECT_CKR(CKR_SIGNATURE_INVALID, verify(folder.read("unsigned.der")));
}

TEST_F(Messages, ThatCannotBeReadAreToldApart)
{
    const Bytes message = signedBy("rsa", enclosed);
    Bytes longer = message;
    longer.push_back(0);
    EXPECT_CKR(CKR_DATA_INVALID, verify(longer));
    EXPECT_CKR(CKR_DATA_INVALID, verify(Bytes(message.begin(), message.end() - 1)));
    EXPECT_CKR(CKR_DATA_INVALID, verify(certificate));
    EXPECT_CKR(CKR_DATA_INVALID, verify(bytes("nonsense")));
    EXPECT_CKR(CKR_DATA_INVALID, verify({}));
    folder.write("message.der", message);
    EXPECT_TRUE(succeeded(openssl(
        folder, {"cms", "-cmsout", "-inform", "DER", "-in", "message.der", "-outform", "PEM", "-out", "message.pem"})));
    EXPECT_CKR(CKR_DATA_INVALID, verify(folder.read("message.pem")));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, module->C_TOVR_pkcs7Verify(nullptr, 1, nullptr, 0));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, module->C_TOVR_pkcs7Verify(longer.data(), longer.size(), nullptr, 1));
}

TEST_F(Messages, AreJudgedWithoutASession)
{
    const Bytes message = signedBy("rsa", enclosed);
    ASSERT_CKR(CKR_OK, standard->C_CloseSession(session));
    EXPECT_CKR(CKR_OK, verify(message));
}

TEST_F(Messages, NeedALoggedInUser)
{
    Bytes data = content;
    const CK_OBJECT_HANDLE signer = only(CKO_CERTIFICATE, "rsa");
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "rsa");
    ASSERT_CKR(CKR_OK, standard->C_Logout(session));
    CK_ULONG length = 0;
    EXPECT_CKR(CKR_USER_NOT_LOGGED_IN, module->C_TOVR_pkcs7Sign(session, data.data(), data.size(), signer, nullptr,
                                                                &length, key, nullptr, 0, enclosed));
}

} // namespace
} // namespace endtoend
