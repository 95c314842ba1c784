// SPDX-License-Identifier: Apache-2.0
#include "softtoken/keys.h"

#include "softtoken/gost.h"

namespace softtoken {
namespace {

void importRsaPublicKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_pubkey_t key)
{
    const Bytes modulus = readBytes(session, object, CKA_MODULUS);
    const Bytes exponent = readBytes(session, object, CKA_PUBLIC_EXPONENT);
    const gnutls_datum_t m = borrow(modulus);
    const gnutls_datum_t e = borrow(exponent);
    checkGnutls(gnutls_pubkey_import_rsa_raw(key, &m, &e), CKR_KEY_TYPE_INCONSISTENT);
}

gnutls_pk_algorithm_t keyType(const Session& session, CK_OBJECT_HANDLE object)
{
    switch (readNumber(session, object, CKA_KEY_TYPE)) {
    case CKK_RSA: return GNUTLS_PK_RSA;
    case CKK_GOSTR3410: return GNUTLS_PK_GOST_01;
    default: throw Failure{CKR_KEY_TYPE_INCONSISTENT};
    }
}

/// Modulus and exponent, or the point's coordinates: what two keys have in common that are the same key, whatever
/// optional parameters their encodings carry.
struct PublicValue {
    explicit PublicValue(gnutls_pubkey_t key) : type(gnutls_pubkey_get_pk_algorithm(key, nullptr))
    {
        gnutls_datum_t a = {};
        gnutls_datum_t b = {};
        if (type == GNUTLS_PK_RSA)
            checkGnutls(gnutls_pubkey_export_rsa_raw(key, &a, &b), CKR_FUNCTION_FAILED);
        else if (type == GNUTLS_PK_GOST_01)
            checkGnutls(gnutls_pubkey_export_gost_raw2(key, &curve, nullptr, nullptr, &a, &b, 0), CKR_FUNCTION_FAILED);
        first = take(a);
        second = take(b);
    }

    bool operator==(const PublicValue& other) const
    {
        return type == other.type && curve == other.curve && first == other.first && second == other.second;
    }

    int type;
    gnutls_ecc_curve_t curve = GNUTLS_ECC_CURVE_INVALID;
    Bytes first;
    Bytes second;
};

gnutls_sign_algorithm_t signatureAlgorithm(const SigningKey& key)
{
    return key.type() == GNUTLS_PK_RSA ? GNUTLS_SIGN_RSA_SHA256 : GNUTLS_SIGN_GOST_94;
}

int describeRsaKey(gnutls_privkey_t, unsigned flags, void*)
{
    if (flags & GNUTLS_PRIVKEY_INFO_PK_ALGO)
        return GNUTLS_PK_RSA;
    if (flags & GNUTLS_PRIVKEY_INFO_HAVE_SIGN_ALGO)
        return GNUTLS_FLAGS_TO_SIGN_ALGO(flags) == GNUTLS_SIGN_RSA_SHA256;
    return -1;
}

} // namespace

PublicKey readPublicKey(const Session& session, CK_OBJECT_HANDLE object)
{
    requireClass(session, object, CKO_PUBLIC_KEY, CKR_KEY_HANDLE_INVALID);
    PublicKey key = newPublicKey();
    if (keyType(session, object) == GNUTLS_PK_RSA)
        importRsaPublicKey(session, object, key.get());
    else
        importGostPublicKey(session, object, key.get());
    return key;
}

SigningKey::SigningKey(const Session& session, CK_OBJECT_HANDLE object) : session_(session), object_(object)
{
    requireClass(session, object, CKO_PRIVATE_KEY, CKR_KEY_HANDLE_INVALID);
    type_ = keyType(session, object);
    if (type_ == GNUTLS_PK_GOST_01) {
        importGostPrivateKey(session, object, key_.get());
        checkGnutls(gnutls_pubkey_import_privkey(public_.get(), key_.get(), 0, 0), CKR_KEY_TYPE_INCONSISTENT);
        return;
    }
    importRsaPublicKey(session, object, public_.get());
    const auto sign = [](gnutls_privkey_t, gnutls_sign_algorithm_t, void* self, unsigned, const gnutls_datum_t* digest,
                         gnutls_datum_t* signature) {
        return static_cast<SigningKey*>(self)->signOnToken(*digest, *signature);
    };
    checkGnutls(gnutls_privkey_import_ext4(key_.get(), this, nullptr, sign, nullptr, nullptr, describeRsaKey, 0),
                CKR_FUNCTION_FAILED);
}

gnutls_digest_algorithm_t SigningKey::digest() const
{
    return gnutls_sign_get_hash_algorithm(signatureAlgorithm(*this));
}

void SigningKey::requireMatch(gnutls_pubkey_t publicKey) const
{
    require(PublicValue(publicKey) == PublicValue(public_.get()), CKR_KEY_TYPE_INCONSISTENT);
}

Bytes SigningKey::sign(const Bytes& data) const
{
    const gnutls_datum_t input = borrow(data);
    gnutls_datum_t signature = {};
    checkSigned(gnutls_privkey_sign_data2(key_.get(), signatureAlgorithm(*this), 0, &input, &signature));
    return take(signature);
}

void SigningKey::checkSigned(int result) const
{
    check(tokenResult_);
    checkGnutls(result, CKR_FUNCTION_FAILED);
}

/// GnuTLS hands over a finished DigestInfo, as CKM_RSA_PKCS expects it.
int SigningKey::signOnToken(const gnutls_datum_t& digestInfo, gnutls_datum_t& signature) noexcept
{
    CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
    tokenResult_ = session_.softHsm.C_SignInit(session_.handle, &mechanism, object_);
    CK_ULONG length = 0;
    if (tokenResult_ == CKR_OK)
        tokenResult_ = session_.softHsm.C_Sign(session_.handle, digestInfo.data, digestInfo.size, nullptr, &length);
    if (tokenResult_ != CKR_OK)
        return GNUTLS_E_PK_SIGN_FAILED;
    signature.data = static_cast<unsigned char*>(gnutls_malloc(length));
    if (!signature.data)
        return GNUTLS_E_MEMORY_ERROR;
    tokenResult_ = session_.softHsm.C_Sign(session_.handle, digestInfo.data, digestInfo.size, signature.data, &length);
    signature.size = static_cast<unsigned>(length);
    return tokenResult_ == CKR_OK ? GNUTLS_E_SUCCESS : GNUTLS_E_PK_SIGN_FAILED;
}

} // namespace softtoken
