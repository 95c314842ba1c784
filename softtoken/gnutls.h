// SPDX-License-Identifier: Apache-2.0
// GnuTLS's keys and bytes.
#pragma once

#include "softtoken/failure.h"
#include "softtoken/owned.h"

#include <gnutls/abstract.h>

namespace softtoken {

using PublicKey = Owned<gnutls_pubkey_t, gnutls_pubkey_deinit>;
using PrivateKey = Owned<gnutls_privkey_t, gnutls_privkey_deinit>;

[[nodiscard]] PublicKey newPublicKey();
PrivateKey newPrivateKey();

/// Fails with `code` for a negative GnuTLS result, or with CKR_HOST_MEMORY if memory ran out.
void checkGnutls(int result, CK_RV code);

/// Copies bytes that GnuTLS allocated, then wipes and frees them.
[[nodiscard]] Bytes take(gnutls_datum_t& datum);

/// A view of bytes that GnuTLS only reads.
gnutls_datum_t borrow(const unsigned char* data, std::size_t length);
inline gnutls_datum_t borrow(const Bytes& bytes)
{
    return borrow(bytes.data(), bytes.size());
}

/// Whether the bytes are the same.
[[nodiscard]] bool equal(const gnutls_datum_t& a, const gnutls_datum_t& b);

} // namespace softtoken
