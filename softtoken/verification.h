// SPDX-License-Identifier: Apache-2.0
// Verification of PKCS #7 messages.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// C_TOVR_pkcs7Verify: the message, then the content of a detached one. Judges signatures, not certificates.
void pkcs7Verify(const CK_FUNCTION_LIST& softHsm, CK_BYTE_PTR message, CK_ULONG messageLen, CK_BYTE_PTR content,
                 CK_ULONG contentLen);

} // namespace softtoken
