// SPDX-License-Identifier: Apache-2.0
#include "bench/credentials.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>

namespace {

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* object) const
    {
        release(object);
    }
};

void must(bool done)
{
    if (!done)
        throw std::runtime_error("OpenSSL cannot make a certificate");
}

Bytes number(const EVP_PKEY* key, const char* name)
{
    BIGNUM* value = nullptr;
    must(EVP_PKEY_get_bn_param(key, name, &value) == 1);
    const std::unique_ptr<BIGNUM, Release<BN_clear_free>> owner(value);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(value)));
    must(BN_bn2bin(value, bytes.data()) == static_cast<int>(bytes.size()));
    return bytes;
}

/// `encode` is one of OpenSSL's i2d functions.
template <typename T, typename Encode>
Bytes der(T* object, Encode encode)
{
    const int length = encode(object, nullptr);
    must(length > 0);
    Bytes bytes(static_cast<std::size_t>(length));
    unsigned char* end = bytes.data();
    must(encode(object, &end) == length);
    return bytes;
}

} // namespace

Credentials makeCredentials(const std::string& commonName)
{
    const std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>> key(EVP_RSA_gen(2048));
    const std::unique_ptr<X509, Release<X509_free>> certificate(X509_new());
    must(key && certificate);
    X509_NAME* name = X509_get_subject_name(certificate.get());
    must(X509_set_version(certificate.get(), X509_VERSION_3) == 1);
    must(ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1) == 1);
    must(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0) != nullptr);
    must(X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400) != nullptr);
    must(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                    reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0) == 1);
    must(X509_set_issuer_name(certificate.get(), name) == 1);
    must(X509_set_pubkey(certificate.get(), key.get()) == 1);
    must(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);

    Credentials made;
    made.modulus = number(key.get(), OSSL_PKEY_PARAM_RSA_N);
    made.publicExponent = number(key.get(), OSSL_PKEY_PARAM_RSA_E);
    made.privateExponent = number(key.get(), OSSL_PKEY_PARAM_RSA_D);
    made.primes[0] = number(key.get(), OSSL_PKEY_PARAM_RSA_FACTOR1);
    made.primes[1] = number(key.get(), OSSL_PKEY_PARAM_RSA_FACTOR2);
    made.exponents[0] = number(key.get(), OSSL_PKEY_PARAM_RSA_EXPONENT1);
    made.exponents[1] = number(key.get(), OSSL_PKEY_PARAM_RSA_EXPONENT2);
    made.coefficient = number(key.get(), OSSL_PKEY_PARAM_RSA_COEFFICIENT1);
    made.certificate = der(certificate.get(), i2d_X509);
    made.subject = der(name, i2d_X509_NAME);
    made.serialNumber = der(X509_get_serialNumber(certificate.get()), i2d_ASN1_INTEGER);
    return made;
}
