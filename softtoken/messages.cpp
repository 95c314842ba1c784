#include "softtoken/messages.h"

#include "softtoken/certificates.h"
#include "softtoken/keys.h"
#include "softtoken/store.h"

#include <gnutls/pkcs7.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace softtoken {
namespace {

using Message = Owned<gnutls_pkcs7_t, gnutls_pkcs7_deinit>;
using SignerCertificate = Owned<gnutls_x509_crt_t, gnutls_x509_crt_deinit>;

constexpr CK_ULONG enclosed = 0;
constexpr CK_ULONG detached = 1;

Message newMessage()
{
    gnutls_pkcs7_t message = nullptr;
    checkGnutls(gnutls_pkcs7_init(&message), CKR_FUNCTION_FAILED);
    return Message(message);
}

SignerCertificate import(const Bytes& der, CK_RV code)
{
    gnutls_x509_crt_t certificate = nullptr;
    checkGnutls(gnutls_x509_crt_init(&certificate), code);
    SignerCertificate owner(certificate);
    const gnutls_datum_t datum = borrow(der);
    checkGnutls(gnutls_x509_crt_import(certificate, &datum, GNUTLS_X509_FMT_DER), code);
    return owner;
}

PublicKey publicKey(gnutls_x509_crt_t certificate)
{
    PublicKey key = newPublicKey();
    checkGnutls(gnutls_pubkey_import_x509(key.get(), certificate, 0), CKR_KEY_TYPE_INCONSISTENT);
    return key;
}

/// The signer's first, then the others, each once.
std::vector<Bytes> readCertificates(const Session& session, CK_OBJECT_HANDLE signer, CK_OBJECT_HANDLE_PTR others,
                                    CK_ULONG count)
{
    std::vector<Bytes> all = {readCertificate(session, signer)};
    for (CK_ULONG i = 0; i < count; ++i) {
        Bytes next = readCertificate(session, others[i]);
        if (std::find(all.begin(), all.end(), next) == all.end())
            all.push_back(std::move(next));
    }
    return all;
}

struct SignatureInfo : gnutls_pkcs7_signature_info_st {
    SignatureInfo() : gnutls_pkcs7_signature_info_st() {}
    ~SignatureInfo() { gnutls_pkcs7_signature_info_deinit(this); }
    SignatureInfo(const SignatureInfo&) = delete;
    SignatureInfo& operator=(const SignatureInfo&) = delete;
};

bool equal(const gnutls_datum_t& a, const gnutls_datum_t& b)
{
    return std::equal(a.data, a.data + a.size, b.data, b.data + b.size);
}

/// By issuer and serial number, or by key identifier: whichever the signature gives.
bool names(const SignatureInfo& info, gnutls_x509_crt_t certificate)
{
    unsigned char buffer[128];
    std::size_t length = sizeof buffer;
    if (info.issuer_keyid.size > 0)
        return gnutls_x509_crt_get_subject_key_id(certificate, buffer, &length, nullptr) == 0 &&
               equal(info.issuer_keyid, borrow(buffer, length));
    gnutls_datum_t issuer = {};
    if (gnutls_x509_crt_get_serial(certificate, buffer, &length) != 0 ||
        !equal(info.signer_serial, borrow(buffer, length)) ||
        gnutls_x509_crt_get_raw_issuer_dn(certificate, &issuer) != 0)
        return false;
    const Bytes name = take(issuer);
    return equal(info.issuer_dn, borrow(name));
}

/// Null when the message does not carry it.
SignerCertificate findSigner(gnutls_pkcs7_t message, const SignatureInfo& info)
{
    const int count = gnutls_pkcs7_get_crt_count(message);
    for (int i = 0; i < count; ++i) {
        gnutls_datum_t datum = {};
        checkGnutls(gnutls_pkcs7_get_crt_raw2(message, static_cast<unsigned>(i), &datum), CKR_DATA_INVALID);
        SignerCertificate certificate = import(take(datum), CKR_DATA_INVALID);
        if (names(info, certificate.get()))
            return certificate;
    }
    return nullptr;
}

void verifySignature(gnutls_pkcs7_t message, unsigned index, const gnutls_datum_t* content)
{
    SignatureInfo info;
    checkGnutls(gnutls_pkcs7_get_signature_info(message, index, &info), CKR_DATA_INVALID);
    const SignerCertificate signer = findSigner(message, info);
    require(signer != nullptr, CKR_SIGNATURE_INVALID);
    // GnuTLS counts GOST R 34.11-94 among the broken digests.
    const unsigned flags = info.algo == GNUTLS_SIGN_GOST_94 ? GNUTLS_VERIFY_ALLOW_BROKEN : 0;
    checkGnutls(gnutls_pkcs7_verify_direct(message, signer.get(), index, content, flags), CKR_SIGNATURE_INVALID);
}

} // namespace

void pkcs7Sign(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_BYTE_PTR data, CK_ULONG dataLen,
               CK_OBJECT_HANDLE certificate, CK_BYTE_PTR signature, CK_ULONG_PTR signatureLen,
               CK_OBJECT_HANDLE privateKey, CK_OBJECT_HANDLE_PTR certificates, CK_ULONG certificateCount,
               CK_ULONG flags)
{
    const Session session = {softHsm, handle};
    requireUser(session);
    require(signatureLen && (flags == enclosed || flags == detached), CKR_ARGUMENTS_BAD);
    requireInput(data, dataLen);
    requireInput(certificates, certificateCount);
    // GnuTLS signs no empty content.
    require(dataLen > 0, CKR_DATA_LEN_RANGE);
    const std::vector<Bytes> ders = readCertificates(session, certificate, certificates, certificateCount);
    const SignerCertificate signer = import(ders.front(), CKR_OBJECT_HANDLE_INVALID);
    const SigningKey key(session, privateKey);
    key.requireMatch(publicKey(signer.get()).get());

    const Message message = newMessage();
    const gnutls_datum_t content = borrow(data, dataLen);
    key.checkSigned(gnutls_pkcs7_sign(message.get(), signer.get(), key.get(), &content, nullptr, nullptr, key.digest(),
                                      GNUTLS_PKCS7_INCLUDE_CERT | (flags == enclosed ? GNUTLS_PKCS7_EMBED_DATA : 0)));
    // GnuTLS puts no content into a message that has certificates already, so the further ones come last.
    for (std::size_t i = 1; i < ders.size(); ++i) {
        const gnutls_datum_t further = borrow(ders[i]);
        checkGnutls(gnutls_pkcs7_set_crt_raw(message.get(), &further), CKR_FUNCTION_FAILED);
    }
    gnutls_datum_t der = {};
    checkGnutls(gnutls_pkcs7_export2(message.get(), GNUTLS_X509_FMT_DER, &der), CKR_FUNCTION_FAILED);
    deliver(take(der), signature, signatureLen);
}

void pkcs7Verify(const CK_FUNCTION_LIST& softHsm, CK_BYTE_PTR message, CK_ULONG messageLen, CK_BYTE_PTR content,
                 CK_ULONG contentLen)
{
    require(isInitialised(softHsm), CKR_CRYPTOKI_NOT_INITIALIZED);
    requireInput(message, messageLen);
    requireInput(content, contentLen);
    const Message parsed = newMessage();
    const gnutls_datum_t der = borrow(message, messageLen);
    checkGnutls(gnutls_pkcs7_import(parsed.get(), &der, GNUTLS_X509_FMT_DER), CKR_DATA_INVALID);
    const gnutls_datum_t detachedContent = borrow(content, contentLen);
    const int count = gnutls_pkcs7_get_signature_count(parsed.get());
    require(count > 0, CKR_SIGNATURE_INVALID);
    for (int i = 0; i < count; ++i)
        verifySignature(parsed.get(), static_cast<unsigned>(i), contentLen > 0 ? &detachedContent : nullptr);
}

} // namespace softtoken
