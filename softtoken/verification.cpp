// SPDX-License-Identifier: Apache-2.0
#include "softtoken/verification.h"

#include "softtoken/der.h"
#include "softtoken/objects.h"
#include "softtoken/signed_message.h"
#include "softtoken/store.h"

#include <gnutls/crypto.h>
#include <openssl/pkcs7.h>

#include <map>

namespace softtoken {
namespace {

void freeCertificates(STACK_OF(X509) * certificates)
{
    sk_X509_pop_free(certificates, X509_free);
}

void freeList(STACK_OF(X509_ATTRIBUTE) * borrowed)
{
    sk_X509_ATTRIBUTE_free(borrowed);
}

using Certificates = Owned<STACK_OF(X509), freeCertificates>;
using Attributes = Owned<STACK_OF(X509_ATTRIBUTE), freeList>;
using Digest = Owned<BIO, BIO_free>;

/// By issuer and serial number, or by key identifier: whichever the signer gives. Null when no certificate fits.
X509* findCertificate(CMS_SignerInfo* signer, const STACK_OF(X509) * certificates)
{
    for (int i = 0; i < sk_X509_num(certificates); ++i) {
        X509* certificate = sk_X509_value(certificates, i);
        if (CMS_SignerInfo_cert_cmp(signer, certificate) == 0)
            return certificate;
    }
    return nullptr;
}

const ASN1_OBJECT* digestAlgorithm(CMS_SignerInfo* signer)
{
    X509_ALGOR* algorithm = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &algorithm, nullptr);
    return algorithm->algorithm;
}

bool hasAttributes(const CMS_SignerInfo* signer)
{
    return CMS_signed_get_attr_count(signer) >= 0;
}

/// Null unless the attribute is there once, with one value of this type.
const void* onlyValue(const CMS_SignerInfo* signer, int attribute, int type)
{
    return CMS_signed_get0_data_by_OBJ(signer, OBJ_nid2obj(attribute), -3, type);
}

/// OpenSSL leaves it to its callers to compare the two types.
bool namesContentType(const CMS_SignerInfo* signer, const ASN1_OBJECT* contentType)
{
    const auto* named = static_cast<const ASN1_OBJECT*>(onlyValue(signer, NID_pkcs9_contentType, V_ASN1_OBJECT));
    return named && OBJ_cmp(named, contentType) == 0;
}

/// The content's digests in OpenSSL, each made once, however many signers there are.
class Digests {
public:
    explicit Digests(const gnutls_datum_t& content) : content_(content) {}

    BIO* get(const EVP_MD* algorithm)
    {
        Digest& digest = made_[EVP_MD_get_type(algorithm)];
        if (!digest)
            digest = make(algorithm);
        return digest.get();
    }

private:
    Digest make(const EVP_MD* algorithm) const
    {
        Digest digest(BIO_new(BIO_f_md()));
        EVP_MD_CTX* context = nullptr;
        require(digest && BIO_set_md(digest.get(), algorithm) == 1 && BIO_get_md_ctx(digest.get(), &context) == 1 &&
                    EVP_DigestUpdate(context, content_.data, content_.size),
                CKR_HOST_MEMORY);
        return digest;
    }

    const gnutls_datum_t content_;
    std::map<int, Digest> made_;
};

bool isKnownToOpenssl(const X509* certificate)
{
    const EVP_PKEY* key = X509_get0_pubkey(certificate);
    switch (key ? EVP_PKEY_get_base_id(key) : EVP_PKEY_NONE) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
    case EVP_PKEY_DSA:
    case EVP_PKEY_EC: return true;
    default: return false;
    }
}

bool verifyInOpenssl(CMS_SignerInfo* signer, X509* certificate, Digests& digests)
{
    // Two contents with the same digest of 128 bits (MD5) can be made.
    constexpr int weak = 16;
    const EVP_MD* algorithm = EVP_get_digestbyobj(digestAlgorithm(signer));
    if (!algorithm || EVP_MD_get_size(algorithm) <= weak)
        return false;
    CMS_SignerInfo_set1_signer_cert(signer, certificate);
    return CMS_SignerInfo_verify_content(signer, digests.get(algorithm)) == 1 &&
           (!hasAttributes(signer) || CMS_SignerInfo_verify(signer) == 1);
}

/// As the signature covers them: a SET in the order of the message.
Bytes encodeAttributes(const CMS_SignerInfo* signer)
{
    const Attributes attributes(sk_X509_ATTRIBUTE_new_null());
    for (int i = 0; i < CMS_signed_get_attr_count(signer); ++i)
        require(sk_X509_ATTRIBUTE_push(attributes.get(), CMS_signed_get_attr(signer, i)) > 0, CKR_HOST_MEMORY);
    const auto encoder = [](STACK_OF(X509_ATTRIBUTE) * list, unsigned char** end) {
        return ASN1_item_i2d(reinterpret_cast<ASN1_VALUE*>(list), end, ASN1_ITEM_rptr(PKCS7_ATTR_VERIFY));
    };
    return encode(+encoder, attributes.get(), CKR_HOST_MEMORY);
}

bool namesDigest(const CMS_SignerInfo* signer, gnutls_digest_algorithm_t algorithm, const gnutls_datum_t& content)
{
    const auto* named =
        static_cast<const ASN1_STRING*>(onlyValue(signer, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING));
    Bytes digest(gnutls_hash_get_len(algorithm));
    return named && !digest.empty() &&
           gnutls_hash_fast(algorithm, content.data, content.size, digest.data()) == GNUTLS_E_SUCCESS &&
           equal(borrow(named), borrow(digest));
}

/// For the keys that OpenSSL does not know, or not in messages: GOST and Ed25519.
bool verifyInGnutls(CMS_SignerInfo* signer, const X509* certificate, const gnutls_datum_t& content)
{
    const Bytes publicKey = encode(i2d_X509_PUBKEY, X509_get_X509_PUBKEY(certificate), CKR_HOST_MEMORY);
    const gnutls_datum_t encoded = borrow(publicKey);
    const PublicKey key = newPublicKey();
    checkGnutls(gnutls_pubkey_import(key.get(), &encoded, GNUTLS_X509_FMT_DER), CKR_SIGNATURE_INVALID);

    char oid[128];
    (void)OBJ_obj2txt(oid, sizeof oid, digestAlgorithm(signer), 1); // a cut one means nothing to GnuTLS
    const gnutls_digest_algorithm_t digest = gnutls_oid_to_digest(oid);
    const auto type = static_cast<gnutls_pk_algorithm_t>(gnutls_pubkey_get_pk_algorithm(key.get(), nullptr));
    const gnutls_sign_algorithm_t algorithm = gnutls_pk_to_sign(type, digest);
    // GnuTLS counts GOST R 34.11-94 among the broken digests.
    const unsigned flags = algorithm == GNUTLS_SIGN_GOST_94 ? GNUTLS_VERIFY_ALLOW_BROKEN : 0;

    const gnutls_datum_t signature = borrow(CMS_SignerInfo_get0_signature(signer));
    if (!hasAttributes(signer))
        return gnutls_pubkey_verify_data2(key.get(), algorithm, flags, &content, &signature) >= 0;
    const Bytes attributes = encodeAttributes(signer);
    const gnutls_datum_t covered = borrow(attributes);
    return namesDigest(signer, digest, content) &&
           gnutls_pubkey_verify_data2(key.get(), algorithm, flags, &covered, &signature) >= 0;
}

} // namespace

void pkcs7Verify(const CK_FUNCTION_LIST& softHsm, CK_BYTE_PTR message, CK_ULONG messageLen, CK_BYTE_PTR content,
                 CK_ULONG contentLen)
{
    require(isInitialised(softHsm), CKR_CRYPTOKI_NOT_INITIALIZED);
    requireInput(message, messageLen);
    requireInput(content, contentLen);
    const SignedMessage parsed(message, messageLen);
    const gnutls_datum_t signedContent = parsed.content(borrow(content, contentLen));
    Digests digests(signedContent);
    const Certificates certificates(CMS_get1_certs(parsed.get()));
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(parsed.get());
    require(sk_CMS_SignerInfo_num(signers) > 0, CKR_SIGNATURE_INVALID);
    for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i) {
        CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, i);
        X509* certificate = findCertificate(signer, certificates.get());
        require(certificate &&
                    (!hasAttributes(signer) || namesContentType(signer, CMS_get0_eContentType(parsed.get()))) &&
                    (isKnownToOpenssl(certificate) ? verifyInOpenssl(signer, certificate, digests)
                                                   : verifyInGnutls(signer, certificate, signedContent)),
                CKR_SIGNATURE_INVALID);
    }
}

} // namespace softtoken
