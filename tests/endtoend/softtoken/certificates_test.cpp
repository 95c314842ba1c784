// The two ways to bring a certificate onto the token.
#include "tests/endtoend/softtoken/soft_token.h"

#include <sys/resource.h>

#include <csignal>

namespace endtoend {
namespace {

class Certificates : public TokenTest {
protected:
    Bytes selfSigned(const std::string& subject, const std::string& form = "DER")
    {
        EXPECT_TRUE(succeeded(
            openssl(folder, {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-utf8", "-subj", subject, "-set_serial",
                             "4660", "-keyout", "key.pem", "-outform", form, "-out", "certificate"})));
        return folder.read("certificate");
    }

    CK_RV importBlocks(Bytes certificate, const std::string& id)
    {
        Bytes second = bytes(id);
        return module->C_TOVR_ImportCert(session, certificate.data(), certificate.size(), second.data(), second.size());
    }

    std::string text(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type)
    {
        const Bytes value = attribute(object, type);
        return {value.begin(), value.end()};
    }
};

TEST_F(Certificates, StandUnderLabelAndId)
{
    const Bytes der = selfSigned("/O=Vornix/CN=Someone");
    EXPECT_CKR(CKR_OK, import("my label", "id 1", der));
    const CK_OBJECT_HANDLE object = only(CKO_CERTIFICATE, "id 1");
    EXPECT_EQ("my label", text(object, CKA_LABEL));
    EXPECT_EQ(der, attribute(object, CKA_VALUE));
    EXPECT_EQ((Bytes{2, 2, 0x12, 0x34}), attribute(object, CKA_SERIAL_NUMBER));
    EXPECT_EQ(attribute(object, CKA_SUBJECT), attribute(object, CKA_ISSUER));
    EXPECT_EQ(Bytes{CK_FALSE}, attribute(object, CKA_PRIVATE));
    EXPECT_EQ(Bytes{CK_TRUE}, attribute(object, CKA_TOKEN));
}

TEST_F(Certificates, MayHaveNeitherLabelNorId)
{
    EXPECT_CKR(CKR_OK, import("", "", selfSigned("/CN=Someone")));
    EXPECT_EQ("", text(only(CKO_CERTIFICATE, ""), CKA_LABEL));
}

TEST_F(Certificates, TellTheirSubjectFromTheirIssuer)
{
    const Bytes der = issue("id");
    const CK_OBJECT_HANDLE object = only(CKO_CERTIFICATE, "id");
    EXPECT_NE(std::string::npos, text(object, CKA_SUBJECT).find("Ivan Token"));
    EXPECT_NE(std::string::npos, text(object, CKA_ISSUER).find("Test CA"));
    EXPECT_CKR(CKR_OK, importBlocks(der, "blocks"));
    EXPECT_EQ("Ivan Token", text(only(CKO_CERTIFICATE, "blocks"), CKA_LABEL));
}

TEST_F(Certificates, InTwoBlocksAreNamedAfterTheirSubject)
{
    const Bytes der = selfSigned("/O=Vornix/CN=Иван Токен");
    EXPECT_CKR(CKR_OK, importBlocks(der, "id 2"));
    const CK_OBJECT_HANDLE object = only(CKO_CERTIFICATE, "id 2");
    EXPECT_EQ("Иван Токен", text(object, CKA_LABEL));
    EXPECT_EQ(der, attribute(object, CKA_VALUE));
}

TEST_F(Certificates, InTwoBlocksHaveAnEmptyLabelWithoutACommonName)
{
    EXPECT_CKR(CKR_OK, importBlocks(selfSigned("/O=Vornix"), "id 3"));
    EXPECT_EQ("", text(only(CKO_CERTIFICATE, "id 3"), CKA_LABEL));
}

TEST_F(Certificates, MayBeImportedTwice)
{
    const Bytes der = selfSigned("/CN=Twice");
    EXPECT_CKR(CKR_OK, import("first", "twice", der));
    EXPECT_CKR(CKR_OK, import("second", "twice", der));
    EXPECT_EQ(2U, find(CKO_CERTIFICATE, "twice").size());
}

TEST_F(Certificates, ThatCannotBeReadLeaveNothingBehind)
{
    const Bytes pem = selfSigned("/CN=Someone", "PEM");
    const Bytes der = selfSigned("/CN=Someone");
    Bytes longer = der;
    longer.push_back(0);
    const Bytes shorter(der.begin(), der.end() - 1);
    Bytes openEnded = {0x30, 0x80}; // BER: the outermost length left open
    openEnded.insert(openEnded.end(), der.begin() + 4, der.end());
    openEnded.insert(openEnded.end(), {0, 0});
    for (const Bytes& bad : {pem, longer, shorter, openEnded, bytes("nonsense"), Bytes{}}) {
        EXPECT_CKR(CKR_DATA_INVALID, import("bad", "bad", bad));
        EXPECT_CKR(CKR_DATA_INVALID, importBlocks(bad, "bad"));
    }
    EXPECT_CKR(CKR_DATA_INVALID, importBlocks(bytes("id"), std::string(der.begin(), der.end()))) << "blocks swapped";
    EXPECT_EQ(0U, objectCount());
}

// SoftHSM2 has made the object by then.
TEST_F(Certificates, ThatDoNotFitTheDiskLeaveNothingBehind)
{
    const Bytes der = selfSigned("/CN=Someone");
    rlimit usual = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &usual));
    const rlimit little = {1 << 18, usual.rlim_max};
    const auto disposition = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &little));
    const CK_RV rv = import("label", std::string(1 << 20, 'i'), der);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &usual));
    (void)std::signal(SIGXFSZ, disposition);
    EXPECT_NE(CKR_OK, rv);
    EXPECT_EQ(0U, objectCount());
}

TEST_F(Certificates, WithNullPointersAreRefused)
{
    Bytes der = selfSigned("/CN=Someone");
    EXPECT_CKR(CKR_ARGUMENTS_BAD,
               module->C_TOVR_ImportX509Certificate(session, nullptr, nullptr, 0, der.data(), der.size()));
    EXPECT_CKR(CKR_ARGUMENTS_BAD,
               module->C_TOVR_ImportX509Certificate(session, "label", nullptr, 1, der.data(), der.size()));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, module->C_TOVR_ImportX509Certificate(session, "label", nullptr, 0, nullptr, 1));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, module->C_TOVR_ImportCert(session, nullptr, 1, nullptr, 0));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, module->C_TOVR_ImportCert(session, der.data(), der.size(), nullptr, 1));
    EXPECT_EQ(0U, objectCount());
}

TEST_F(Certificates, AreNotTheSecurityOfficersToImport)
{
    const Bytes der = selfSigned("/CN=Someone");
    EXPECT_CKR(CKR_OK, standard->C_Logout(session));
    std::string pin = soPin;
    EXPECT_CKR(CKR_OK, standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()));
    EXPECT_CKR(CKR_USER_NOT_LOGGED_IN, import("label", "id", der));
    EXPECT_CKR(CKR_USER_NOT_LOGGED_IN, importBlocks(der, "id"));
    EXPECT_EQ(0U, objectCount());
}

TEST_F(Certificates, NeedALoggedInUserAndAWritableSession)
{
    const Bytes der = selfSigned("/CN=Someone");
    CK_SESSION_HANDLE readOnly = 0;
    EXPECT_CKR(CKR_OK, standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION, nullptr, nullptr, &readOnly));
    std::swap(session, readOnly);
    EXPECT_CKR(CKR_SESSION_READ_ONLY, import("label", "id", der));
    std::swap(session, readOnly);
    EXPECT_CKR(CKR_OK, standard->C_Logout(session));
    EXPECT_CKR(CKR_USER_NOT_LOGGED_IN, import("label", "id", der));
    EXPECT_CKR(CKR_OK, standard->C_CloseSession(session));
    EXPECT_CKR(CKR_SESSION_HANDLE_INVALID, import("label", "id", der));
}

} // namespace
} // namespace endtoend
