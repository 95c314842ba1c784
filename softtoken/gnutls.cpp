// SPDX-License-Identifier: Apache-2.0
#include "softtoken/gnutls.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <climits>

namespace softtoken {

PublicKey newPublicKey()
{
    gnutls_pubkey_t key = nullptr;
    checkGnutls(gnutls_pubkey_init(&key), CKR_FUNCTION_FAILED);
    return PublicKey(key);
}

PrivateKey newPrivateKey()
{
    gnutls_privkey_t key = nullptr;
    checkGnutls(gnutls_privkey_init(&key), CKR_FUNCTION_FAILED);
    return PrivateKey(key);
}

void checkGnutls(int result, CK_RV code)
{
    require(result != GNUTLS_E_MEMORY_ERROR, CKR_HOST_MEMORY);
    require(result >= 0, code);
}

Bytes take(gnutls_datum_t& datum)
{
    Bytes bytes(datum.data, datum.data + datum.size);
    OPENSSL_cleanse(datum.data, datum.size);
    gnutls_free(datum.data);
    datum = {};
    return bytes;
}

gnutls_datum_t borrow(const unsigned char* data, std::size_t length)
{
    require(length <= UINT_MAX, CKR_DATA_LEN_RANGE);
    return {const_cast<unsigned char*>(data), static_cast<unsigned>(length)};
}

bool equal(const gnutls_datum_t& a, const gnutls_datum_t& b)
{
    return std::equal(a.data, a.data + a.size, b.data, b.data + b.size);
}

} // namespace softtoken
