// SPDX-License-Identifier: Apache-2.0
#include "softtoken/messages.h"

#include "softtoken/certificates.h"
#include "softtoken/der.h"
#include "softtoken/keys.h"

#include <gnutls/pkcs7.h>
#include <openssl/pkcs7.h>

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

/// GnuTLS names GOST algorithms in a way of its own. These names are those of RFC 4490; the signature does not cover
/// them.
Bytes withGostAlgorithms(const Bytes& der)
{
    const unsigned char* end = der.data();
    const Owned<PKCS7, PKCS7_free> message(d2i_PKCS7(nullptr, &end, static_cast<long>(der.size())));
    require(message != nullptr, CKR_FUNCTION_FAILED);
    const PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(message->d.sign->signer_info, 0);
    for (X509_ALGOR* digest : {sk_X509_ALGOR_value(message->d.sign->md_algs, 0), signer->digest_alg})
        require(X509_ALGOR_set0(digest, OBJ_nid2obj(NID_id_GostR3411_94), V_ASN1_NULL, nullptr), CKR_HOST_MEMORY);
    require(X509_ALGOR_set0(signer->digest_enc_alg, OBJ_nid2obj(NID_id_GostR3410_2001), V_ASN1_NULL, nullptr),
            CKR_HOST_MEMORY);
    return encode(i2d_PKCS7, message.get(), CKR_FUNCTION_FAILED);
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
    const Bytes made = take(der);
    deliver(key.type() == GNUTLS_PK_GOST_01 ? withGostAlgorithms(made) : made, signature, signatureLen);
}

} // namespace softtoken
