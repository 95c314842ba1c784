// SPDX-License-Identifier: Apache-2.0
// The instant module: a PKCS #11 module that answers at once. The rest of a call's cost is its caller's own work and
// the dynamic loader's. It holds `slots` readers, called "Reader 0" and so on, each with the same token.
#pragma once

#include "include/tovr_pkcs11.h"

#include <cstddef>

struct InstantShape {
    std::size_t slots;
    std::size_t objects;
    std::size_t bytes; ///< of every long output: certificate, modulus, message, request
};

/// The shape used for all counts and comparisons but those of scaling.
constexpr InstantShape usualShape = {3, 102, 1400};

extern "C" {

/// Defined by the program that loads the module, so that the module reads neither environment nor file.
extern InstantShape instantShape;

CK_RV instantImportCert(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG);
CK_RV instantImportX509Certificate(CK_SESSION_HANDLE, const char*, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG);
CK_RV instantCreateCsr(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR request,
                       CK_ULONG_PTR length, CK_OBJECT_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG);
CK_RV instantPkcs7Sign(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_OBJECT_HANDLE, CK_BYTE_PTR message,
                       CK_ULONG_PTR length, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE_PTR, CK_ULONG, CK_ULONG);
CK_RV instantPkcs7Verify(CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG);
}
