// SPDX-License-Identifier: Apache-2.0
// The token's keys as GnuTLS uses them, RSA and GOST R 34.10-2001 alike.
#pragma once

#include "softtoken/gnutls.h"
#include "softtoken/objects.h"

namespace softtoken {

/// Reads a public key object. Another class of object fails with CKR_KEY_HANDLE_INVALID, another type of key with
/// CKR_KEY_TYPE_INCONSISTENT.
[[nodiscard]] PublicKey readPublicKey(const Session& session, CK_OBJECT_HANDLE object);

/// A private key object that signs. RSA values never leave SoftHSM2: C_Sign makes the signature. GOST values, which
/// SoftHSM2 stores but cannot use, are read and wiped again.
class SigningKey {
public:
    /// Fails like readPublicKey.
    SigningKey(const Session& session, CK_OBJECT_HANDLE object);

    ~SigningKey() = default;
    SigningKey(const SigningKey&) = delete;
    SigningKey& operator=(const SigningKey&) = delete;

    gnutls_privkey_t get() const { return key_.get(); }
    gnutls_pk_algorithm_t type() const { return type_; }
    gnutls_digest_algorithm_t digest() const;

    /// Fails with CKR_KEY_TYPE_INCONSISTENT unless the two belong together.
    void requireMatch(gnutls_pubkey_t publicKey) const;

    /// All signatures of a key have the same length, so the length of a first one holds for the next.
    Bytes sign(const Bytes& data) const;

    /// Fails for a negative GnuTLS result: with SoftHSM2's code if it refused to sign, otherwise with
    /// CKR_FUNCTION_FAILED.
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
