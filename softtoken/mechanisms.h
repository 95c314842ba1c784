// SPDX-License-Identifier: Apache-2.0
// SoftHSM2's mechanisms and one more: the generation of GOST R 34.10-2001 key pairs.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

void getMechanismList(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_MECHANISM_TYPE_PTR mechanisms,
                      CK_ULONG_PTR count);
void getMechanismInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism,
                      CK_MECHANISM_INFO_PTR info);

/// C_GenerateKeyPair, for SoftHSM2's mechanisms and for GOST. Makes both keys or none.
void generateKeyPair(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_MECHANISM_PTR mechanism,
                     CK_ATTRIBUTE_PTR publicTemplate, CK_ULONG publicCount, CK_ATTRIBUTE_PTR privateTemplate,
                     CK_ULONG privateCount, CK_OBJECT_HANDLE_PTR publicKey, CK_OBJECT_HANDLE_PTR privateKey);

} // namespace softtoken
