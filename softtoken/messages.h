// PKCS #7 messages.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// C_TOVR_pkcs7Sign. `flags`: 0 for a message that encloses the data, 1 for a detached one.
void pkcs7Sign(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_BYTE_PTR data, CK_ULONG dataLen,
               CK_OBJECT_HANDLE certificate, CK_BYTE_PTR signature, CK_ULONG_PTR signatureLen,
               CK_OBJECT_HANDLE privateKey, CK_OBJECT_HANDLE_PTR certificates, CK_ULONG certificateCount,
               CK_ULONG flags);

/// C_TOVR_pkcs7Verify: the message, then the content of a detached one. Judges signatures, not certificates.
void pkcs7Verify(const CK_FUNCTION_LIST& softHsm, CK_BYTE_PTR message, CK_ULONG messageLen, CK_BYTE_PTR content,
                 CK_ULONG contentLen);

} // namespace softtoken
