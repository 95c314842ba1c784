// SPDX-License-Identifier: Apache-2.0
// Certificates on the token.
#pragma once

#include "softtoken/objects.h"

#include <openssl/x509.h>

namespace softtoken {

using Certificate = Owned<X509, X509_free>;

/// Parses exactly one DER certificate. Anything else, bytes behind it included, fails with CKR_DATA_INVALID.
Certificate parseCertificate(const unsigned char* der, CK_ULONG length);

/// The value of a certificate object. Any other object fails with CKR_OBJECT_HANDLE_INVALID.
[[nodiscard]] Bytes readCertificate(const Session& session, CK_OBJECT_HANDLE object);

/// C_TOVR_ImportCert: the DER certificate, then the ID. The label is the subject's common name.
void importCert(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_BYTE_PTR certificate,
                CK_ULONG certificateLen, CK_BYTE_PTR id, CK_ULONG idLen);

/// C_TOVR_ImportX509Certificate
void importX509Certificate(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, const char* label, CK_BYTE_PTR id,
                           CK_ULONG idLen, CK_BYTE_PTR certificate, CK_ULONG certificateLen);

} // namespace softtoken
