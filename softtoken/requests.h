// SPDX-License-Identifier: Apache-2.0
// Certificate requests (PKCS #10).
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// C_TOVR_CreateCSR. Subject and attributes: short name or dotted OID, UTF-8 value. Extensions: short name or dotted
/// OID, "critical" or nothing, value as in an OpenSSL configuration file.
void createCsr(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_OBJECT_HANDLE publicKey,
               CK_BYTE_PTR subject, CK_ULONG subjectCount, CK_BYTE_PTR csr, CK_ULONG_PTR csrLen,
               CK_OBJECT_HANDLE privateKey, CK_BYTE_PTR attributes, CK_ULONG attributeCount, CK_BYTE_PTR extensions,
               CK_ULONG extensionCount);

} // namespace softtoken
