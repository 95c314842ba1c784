// GOST R 34.10-2001 keys: SoftHSM2 stores them, GnuTLS makes and uses them.
//
// Values are little-endian: 32 bytes for the private one, 64 for the public one, x before y.
#pragma once

#include "softtoken/keys.h"

namespace softtoken {

/// The public value of a GOST key object on its curve; CKR_DOMAIN_PARAMS_INVALID for a curve that is not the token's.
void importGostPublicKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_pubkey_t key);

/// Likewise the private value.
void importGostPrivateKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_privkey_t key);

/// C_GenerateKeyPair: GOST here, everything else in SoftHSM2; both keys or none.
void generateKeyPair(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_MECHANISM_PTR mechanism,
                     CK_ATTRIBUTE_PTR publicTemplate, CK_ULONG publicCount, CK_ATTRIBUTE_PTR privateTemplate,
                     CK_ULONG privateCount, CK_OBJECT_HANDLE_PTR publicKey, CK_OBJECT_HANDLE_PTR privateKey);

/// C_GetMechanismList and C_GetMechanismInfo: SoftHSM2's mechanisms and CKM_GOSTR3410_KEY_PAIR_GEN.
void getMechanismList(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_MECHANISM_TYPE_PTR mechanisms,
                      CK_ULONG_PTR count);
void getMechanismInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism,
                      CK_MECHANISM_INFO_PTR info);

} // namespace softtoken
