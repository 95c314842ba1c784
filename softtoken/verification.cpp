#include "softtoken/verification.h"

#include "softtoken/der.h"
#include "softtoken/gnutls.h"
#include "softtoken/objects.h"
#include "softtoken/store.h"

#include <gnutls/crypto.h>
#include <openssl/cms.h>
#include <openssl/pkcs7.h>

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

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

using Message = Owned<CMS_ContentInfo, CMS_ContentInfo_free>;
using Certificates = Owned<STACK_OF(X509), freeCertificates>;
using Attributes = Owned<STACK_OF(X509_ATTRIBUTE), freeList>;
using Digest = Owned<BIO, BIO_free>;

/// Null unless the bytes are one such structure and nothing behind it.
template <typename Owner, typename Decoder>
Owner decode(Decoder* decoder, const unsigned char* der, CK_ULONG length)
{
    const unsigned char* end = der;
    Owner decoded(decoder(nullptr, &end, static_cast<long>(length)));
    return end == der + length ? std::move(decoded) : nullptr;
}

/// A message as CMS has it, and the enclosed content where CMS has no form for it.
struct Parsed {
    Message message;
    std::optional<Bytes> structure;
};

/// Null unless the content is neither octets nor a message.
ASN1_TYPE** structureIn(PKCS7* message)
{
    PKCS7* content = PKCS7_type_is_signed(message) && message->d.sign ? message->d.sign->contents : nullptr;
    if (!content || !content->d.other || PKCS7_type_is_data(content) || PKCS7_type_is_signed(content) ||
        PKCS7_type_is_enveloped(content) || PKCS7_type_is_signedAndEnveloped(content) ||
        PKCS7_type_is_digest(content) || PKCS7_type_is_encrypted(content))
        return nullptr;
    return &content->d.other;
}

/// PKCS #7 lets a message enclose any structure, CMS only octets. The signature is over the structure without its tag
/// and length (PKCS #7 v1.5, section 9.3); what is left is a detached message.
Parsed parseWithStructure(const unsigned char* der, CK_ULONG length)
{
    const auto message = decode<Owned<PKCS7, PKCS7_free>>(d2i_PKCS7, der, length);
    ASN1_TYPE** structure = message ? structureIn(message.get()) : nullptr;
    require(structure && (*structure)->type == V_ASN1_SEQUENCE, CKR_DATA_INVALID);
    const ASN1_STRING* encoded = (*structure)->value.sequence;
    const unsigned char* start = ASN1_STRING_get0_data(encoded);
    const unsigned char* end = start + ASN1_STRING_length(encoded);
    long contentLength = 0;
    int tag = 0;
    int tagClass = 0;
    require(ASN1_get_object(&start, &contentLength, &tag, &tagClass, end - start) == V_ASN1_CONSTRUCTED,
            CKR_DATA_INVALID);
    const Bytes content(start, start + contentLength);
    ASN1_TYPE_free(*structure);
    *structure = nullptr;
    const Bytes detached = encode(i2d_PKCS7, message.get(), CKR_HOST_MEMORY);
    return {decode<Message>(d2i_CMS_ContentInfo, detached.data(), detached.size()), content};
}

Parsed parse(const unsigned char* der, CK_ULONG length)
{
    Parsed parsed = {decode<Message>(d2i_CMS_ContentInfo, der, length), std::nullopt};
    if (!parsed.message)
        parsed = parseWithStructure(der, length);
    require(parsed.message && OBJ_obj2nid(CMS_get0_type(parsed.message.get())) == NID_pkcs7_signed, CKR_DATA_INVALID);
    return parsed;
}

gnutls_datum_t bytesOf(const ASN1_STRING* string)
{
    return borrow(ASN1_STRING_get0_data(string), static_cast<std::size_t>(ASN1_STRING_length(string)));
}

bool equal(const gnutls_datum_t& a, const gnutls_datum_t& b)
{
    return std::equal(a.data, a.data + a.size, b.data, b.data + b.size);
}

/// What the message encloses, otherwise what is named beside it. When it is both, it must be the same.
gnutls_datum_t findContent(const Parsed& parsed, const gnutls_datum_t& named)
{
    ASN1_OCTET_STRING** octets = CMS_get0_content(parsed.message.get());
    const bool encloses = octets && *octets;
    if (!encloses && !parsed.structure)
        return named;
    const gnutls_datum_t content = encloses ? bytesOf(*octets) : borrow(*parsed.structure);
    require(named.size == 0 || equal(named, content), CKR_SIGNATURE_INVALID);
    return content;
}

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
    // For 128 bits (MD5) a second content can be made that has the same digest.
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
           equal(bytesOf(named), borrow(digest));
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

    const gnutls_datum_t signature = bytesOf(CMS_SignerInfo_get0_signature(signer));
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
    const Parsed parsed = parse(message, messageLen);
    CMS_ContentInfo* signedData = parsed.message.get();
    const gnutls_datum_t signedContent = findContent(parsed, borrow(content, contentLen));
    Digests digests(signedContent);
    const Certificates certificates(CMS_get1_certs(signedData));
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(signedData);
    require(sk_CMS_SignerInfo_num(signers) > 0, CKR_SIGNATURE_INVALID);
    for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i) {
        CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, i);
        X509* certificate = findCertificate(signer, certificates.get());
        require(certificate &&
                    (!hasAttributes(signer) || namesContentType(signer, CMS_get0_eContentType(signedData))) &&
                    (isKnownToOpenssl(certificate) ? verifyInOpenssl(signer, certificate, digests)
                                                   : verifyInGnutls(signer, certificate, signedContent)),
                CKR_SIGNATURE_INVALID);
    }
}

} // namespace softtoken
