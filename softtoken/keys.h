// SPDX-License-Identifier: Apache-2.0
// The token's keys as GnuTLS uses them, RSA and GOST R 34.10-2001 alike.
#pragma once

#include "softtoken/gnutls.h"
#include "softtoken/objects.h"

namespace softtoken {

/// A public key object; anything else fails with CKR_KEY_HANDLE_INVALID, another kind of key with
/// CKR_KEY_TYPE_INCONSISTENT.
PublicKey readPublicKey(const Session& session, CK_OBJECT_HANDLE object);

/// A private key object that signs. RSA values never leave SoftHSM2: C_Sign makes the signature. GOST values, which
/// SoftHSM2 stores but cannot use, are read and wiped again.
class SigningKey {
public:
    /// Fails as readPublicKey.
    SigningKey(const Session& session, CK_OBJECT_HANDLE object);

    ~SigningKey() = default;
    SigningKey(const SigningKey&) = delete;
    SigningKey& operator=(const SigningKey&) = delete;

    gnutls_privkey_t get() const { return key_.get(); }
    gnutls_pk_algorithm_t type() const { return type_; }
    gnutls_digest_algorithm_t digest() const;

    /// Fails with CKR_KEY_TYPE_INCONSISTENT unless the two belong together.
    void requireMatch(gnutls_pubkey_t publicKey) const;

    /// Of constant length for a given key, so that a length announced for one signature holds for the next.
    Bytes sign(const Bytes& data) const;

    /// Ends the call for a negative GnuTLS result, with the token's own code where C_Sign refused.
    void checkSigned(int result) const;

private:
    int signOnToken(const gnutls_datum_t& digestInfo, gnutls_datum_t& signature) noexcept;

    const Session& session_;
    const CK_OBJECT_HANDLE object_;
    gnutls_pk_algorithm_t type_;
    CK_RV tokenResult_ = CKR_OK;
    PublicKey public_ = newPublicKey();
    PrivateKey key_ = newPrivateKey();
};

} // namespace softtoken
