// SPDX-License-Identifier: Apache-2.0
#include "softtoken/certificates.h"

#include "softtoken/der.h"
#include "softtoken/transaction.h"

#include <string>

namespace softtoken {
namespace {

void requireBlocks(const Session& session, const void* id, CK_ULONG idLen, const void* certificate,
                   CK_ULONG certificateLen)
{
    requireUser(session);
    requireInput(id, idLen);
    requireInput(certificate, certificateLen);
}

void addCertificate(const Session& session, std::string_view label, CK_BYTE_PTR id, CK_ULONG idLen,
                    const X509* certificate, CK_BYTE_PTR der, CK_ULONG derLen)
{
    const CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
    const CK_CERTIFICATE_TYPE type = CKC_X_509;
    const CK_BBOOL onToken = CK_TRUE;
    const CK_BBOOL isPrivate = CK_FALSE;
    const Bytes subject = encode(i2d_X509_NAME, X509_get_subject_name(certificate), CKR_DATA_INVALID);
    const Bytes issuer = encode(i2d_X509_NAME, X509_get_issuer_name(certificate), CKR_DATA_INVALID);
    const Bytes serial = encode(i2d_ASN1_INTEGER, X509_get0_serialNumber(certificate), CKR_DATA_INVALID);
    allOrNothing(session, Place::token, [&] {
        createObject(session, {attribute(CKA_CLASS, objectClass), attribute(CKA_CERTIFICATE_TYPE, type),
                               attribute(CKA_TOKEN, onToken), attribute(CKA_PRIVATE, isPrivate),
                               attribute(CKA_LABEL, label.data(), label.size()), attribute(CKA_ID, id, idLen),
                               attribute(CKA_SUBJECT, subject), attribute(CKA_ISSUER, issuer),
                               attribute(CKA_SERIAL_NUMBER, serial), attribute(CKA_VALUE, der, derLen)});
    });
}

void freeText(unsigned char* text)
{
    OPENSSL_free(text);
}

/// In UTF-8; empty when the subject has no common name.
std::string commonName(const X509* certificate)
{
    const X509_NAME* subject = X509_get_subject_name(certificate);
    const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (index < 0)
        return {};
    unsigned char* text = nullptr;
    const int length = ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
    require(length >= 0, CKR_DATA_INVALID);
    const Owned<unsigned char, freeText> owner(text);
    return {text, text + length};
}

} // namespace

Certificate parseCertificate(const unsigned char* der, CK_ULONG length)
{
    const unsigned char* end = der;
    Certificate certificate(d2i_X509(nullptr, &end, static_cast<long>(length)));
    // OpenSSL reads BER as well, which GnuTLS would refuse when the certificate is to sign.
    require(certificate && end == der + length &&
                encode(i2d_X509, certificate.get(), CKR_DATA_INVALID) == Bytes(der, end),
            CKR_DATA_INVALID);
    return certificate;
}

Bytes readCertificate(const Session& session, CK_OBJECT_HANDLE object)
{
    requireClass(session, object, CKO_CERTIFICATE, CKR_OBJECT_HANDLE_INVALID);
    return readBytes(session, object, CKA_VALUE);
}

void importCert(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_BYTE_PTR certificate,
                CK_ULONG certificateLen, CK_BYTE_PTR id, CK_ULONG idLen)
{
    const Session session = {softHsm, handle};
    requireBlocks(session, id, idLen, certificate, certificateLen);
    const Certificate parsed = parseCertificate(certificate, certificateLen);
    addCertificate(session, commonName(parsed.get()), id, idLen, parsed.get(), certificate, certificateLen);
}

void importX509Certificate(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, const char* label, CK_BYTE_PTR id,
                           CK_ULONG idLen, CK_BYTE_PTR certificate, CK_ULONG certificateLen)
{
    const Session session = {softHsm, handle};
    requireBlocks(session, id, idLen, certificate, certificateLen);
    require(label, CKR_ARGUMENTS_BAD);
    const Certificate parsed = parseCertificate(certificate, certificateLen);
    addCertificate(session, label, id, idLen, parsed.get(), certificate, certificateLen);
}

} // namespace softtoken
