// SPDX-License-Identifier: Apache-2.0
// GOST R 34.10-2001 keys: SoftHSM2 stores them, GnuTLS makes and uses them.
//
// Values are little-endian: 32 bytes for the private one, 64 for the public one, x before y.
#pragma once

#include "softtoken/gnutls.h"
#include "softtoken/objects.h"

namespace softtoken {

/// The length of a point's coordinate and of a private value.
constexpr std::size_t gostValueLength = 32;

/// Gives `key` the public value of a GOST key object. Fails with CKR_DOMAIN_PARAMS_INVALID unless the object names the
/// token's curve.
void importGostPublicKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_pubkey_t key);

/// Likewise for the private value.
void importGostPrivateKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_privkey_t key);

/// Generates a pair with GnuTLS and stores it with the given attributes. A failure may leave one key behind.
void generateGostKeyPair(const Session& session, CK_ATTRIBUTE_PTR publicTemplate, CK_ULONG publicCount,
                         CK_ATTRIBUTE_PTR privateTemplate, CK_ULONG privateCount, CK_OBJECT_HANDLE_PTR publicKey,
                         CK_OBJECT_HANDLE_PTR privateKey);

} // namespace softtoken
