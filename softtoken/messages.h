// SPDX-License-Identifier: Apache-2.0
// PKCS #7 messages.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// C_TOVR_pkcs7Sign. `flags`: 0 for a message that encloses the data, 1 for a detached one.
void pkcs7Sign(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_BYTE_PTR data, CK_ULONG dataLen,
               CK_OBJECT_HANDLE certificate, CK_BYTE_PTR signature, CK_ULONG_PTR signatureLen,
               CK_OBJECT_HANDLE privateKey, CK_OBJECT_HANDLE_PTR certificates, CK_ULONG certificateCount,
               CK_ULONG flags);

} // namespace softtoken
