// SPDX-License-Identifier: Apache-2.0
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
            openssl(folder, {"req", "-x509", "-newkey", "rsa:1024", "-nodes", "-utf8", "-subj", subject, "-set_serial",
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
    EXPECT_CKR(import("my label", "id 1", der), CKR_OK);
    const CK_OBJECT_HANDLE object = only(CKO_CERTIFICATE, "id 1");
    EXPECT_EQ(text(object, CKA_LABEL), "my label");
    EXPECT_EQ(attribute(object, CKA_VALUE), der);
    EXPECT_EQ(attribute(object, CKA_SERIAL_NUMBER), (Bytes{2, 2, 0x12, 0x34}));
    EXPECT_EQ(attribute(object, CKA_ISSUER), attribute(object, CKA_SUBJECT));
    EXPECT_EQ(attribute(object, CKA_PRIVATE), Bytes{CK_FALSE});
    EXPECT_EQ(attribute(object, CKA_TOKEN), Bytes{CK_TRUE});
}

TEST_F(Certificates, MayHaveNeitherLabelNorId)
{
    EXPECT_CKR(import("", "", selfSigned("/CN=Someone")), CKR_OK);
    EXPECT_EQ(text(only(CKO_CERTIFICATE, ""), CKA_LABEL), "");
}

TEST_F(Certificates, TellTheirSubjectFromTheirIssuer)
{
    const Bytes der = issue("id");
    const CK_OBJECT_HANDLE object = only(CKO_CERTIFICATE, "id");
    EXPECT_NE(text(object, CKA_SUBJECT).find("Ivan Token"), std::string::npos);
    EXPECT_NE(text(object, CKA_ISSUER).find("Test CA"), std::string::npos);
    EXPECT_CKR(importBlocks(der, "blocks"), CKR_OK);
    EXPECT_EQ(text(only(CKO_CERTIFICATE, "blocks"), CKA_LABEL), "Ivan Token");
}

TEST_F(Certificates, InTwoBlocksAreNamedAfterTheirSubject)
{
    const Bytes der = selfSigned("/O=Vornix/CN=Иван Токен");
    EXPECT_CKR(importBlocks(der, "id 2"), CKR_OK);
    const CK_OBJECT_HANDLE object = only(CKO_CERTIFICATE, "id 2");
    EXPECT_EQ(text(object, CKA_LABEL), "Иван Токен");
    EXPECT_EQ(attribute(object, CKA_VALUE), der);
}

TEST_F(Certificates, InTwoBlocksHaveAnEmptyLabelWithoutACommonName)
{
    EXPECT_CKR(importBlocks(selfSigned("/O=Vornix"), "id 3"), CKR_OK);
    EXPECT_EQ(text(only(CKO_CERTIFICATE, "id 3"), CKA_LABEL), "");
}

TEST_F(Certificates, MayBeImportedTwice)
{
    const Bytes der = selfSigned("/CN=Twice");
    EXPECT_CKR(import("first", "twice", der), CKR_OK);
    EXPECT_CKR(import("second", "twice", der), CKR_OK);
    EXPECT_EQ(find(CKO_CERTIFICATE, "twice").size(), 2U);
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
        EXPECT_CKR(import("bad", "bad", bad), CKR_DATA_INVALID);
        EXPECT_CKR(importBlocks(bad, "bad"), CKR_DATA_INVALID);
    }
    EXPECT_CKR(importBlocks(bytes("id"), std::string(der.begin(), der.end())), CKR_DATA_INVALID) << "blocks swapped";
    EXPECT_EQ(objectCount(), 0U);
}

// SoftHSM2 has made the object by then.
TEST_F(Certificates, ThatDoNotFitTheDiskLeaveNothingBehind)
{
    const Bytes der = selfSigned("/CN=Someone");
    rlimit usual = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit little = {1 << 18, usual.rlim_max};
    const auto disposition = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &little), 0);
    const CK_RV rv = import("label", std::string(1 << 20, 'i'), der);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    (void)std::signal(SIGXFSZ, disposition);
    EXPECT_NE(rv, CKR_OK);
    EXPECT_EQ(objectCount(), 0U);
}

TEST_F(Certificates, WithNullPointersAreRefused)
{
    Bytes der = selfSigned("/CN=Someone");
    EXPECT_CKR(module->C_TOVR_ImportX509Certificate(session, nullptr, nullptr, 0, der.data(), der.size()),
               CKR_ARGUMENTS_BAD);
    EXPECT_CKR(module->C_TOVR_ImportX509Certificate(session, "label", nullptr, 1, der.data(), der.size()),
               CKR_ARGUMENTS_BAD);
    EXPECT_CKR(module->C_TOVR_ImportX509Certificate(session, "label", nullptr, 0, nullptr, 1), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(module->C_TOVR_ImportCert(session, nullptr, 1, nullptr, 0), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(module->C_TOVR_ImportCert(session, der.data(), der.size(), nullptr, 1), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(objectCount(), 0U);
}

TEST_F(Certificates, AreNotTheSecurityOfficersToImport)
{
    const Bytes der = selfSigned("/CN=Someone");
    EXPECT_CKR(standard->C_Logout(session), CKR_OK);
    std::string pin = soPin;
    EXPECT_CKR(standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()), CKR_OK);
    EXPECT_CKR(import("label", "id", der), CKR_USER_NOT_LOGGED_IN);
    EXPECT_CKR(importBlocks(der, "id"), CKR_USER_NOT_LOGGED_IN);
    EXPECT_EQ(objectCount(), 0U);
}

TEST_F(Certificates, NeedALoggedInUserAndAWritableSession)
{
    const Bytes der = selfSigned("/CN=Someone");
    CK_SESSION_HANDLE readOnly = 0;
    EXPECT_CKR(standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION, nullptr, nullptr, &readOnly), CKR_OK);
    std::swap(session, readOnly);
    EXPECT_CKR(import("label", "id", der), CKR_SESSION_READ_ONLY);
    std::swap(session, readOnly);
    EXPECT_CKR(standard->C_Logout(session), CKR_OK);
    EXPECT_CKR(import("label", "id", der), CKR_USER_NOT_LOGGED_IN);
    EXPECT_CKR(standard->C_CloseSession(session), CKR_OK);
    EXPECT_CKR(import("label", "id", der), CKR_SESSION_HANDLE_INVALID);
}

} // namespace
} // namespace endtoend
