// SPDX-License-Identifier: Apache-2.0
/// @file
/// The token module's extended PKCS #11 function list.
///
/// The pointer that C_GetFunctionList delivers leads to the standard list (PKCS #11 v2.40, section 3.6) followed at
/// once by five functions of the token maker's own. They keep the conventions of the standard: a CK_RV as result, 0 for
/// success, and outputs of unknown length by two calls (section 5.2): a null buffer asks for the length, a buffer of
/// that length receives the bytes.
///
/// Nothing here can be probed at run time: neither the list's version nor its length tells whether the five are there.
#pragma once

#include <p11-kit/pkcs11.h>

#include <cstddef>

extern "C" {

/// Creates a certificate object from two blocks whose meaning is the module's own.
using CK_C_TOVR_ImportCert = CK_RV (*)(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pFirst, CK_ULONG ulFirstLen,
                                       CK_BYTE_PTR pSecond, CK_ULONG ulSecondLen);

/// Creates a certificate object under `pLabel` (NUL-terminated) and an ID.
using CK_C_TOVR_ImportX509Certificate = CK_RV (*)(CK_SESSION_HANDLE hSession, const char* pLabel, CK_BYTE_PTR pId,
                                                  CK_ULONG ulIdLen, CK_BYTE_PTR pCertificate,
                                                  CK_ULONG ulCertificateLen);

/// Builds and signs a certificate request. Subject, attributes and extensions are runs of NUL-terminated strings laid
/// end to end; the counts are those of pairs, pairs and triples. A handle of 0 stands for "none named".
using CK_C_TOVR_CreateCSR = CK_RV (*)(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hPublicKey, CK_BYTE_PTR pSubject,
                                      CK_ULONG ulSubjectCount, CK_BYTE_PTR pCsr, CK_ULONG_PTR pulCsrLen,
                                      CK_OBJECT_HANDLE hPrivateKey, CK_BYTE_PTR pAttributes, CK_ULONG ulAttributeCount,
                                      CK_BYTE_PTR pExtensions, CK_ULONG ulExtensionCount);

/// Builds and signs a PKCS #7 message. A handle of 0 stands for "none named"; `flags` is the module's mode word.
using CK_C_TOVR_pkcs7Sign = CK_RV (*)(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen,
                                      CK_OBJECT_HANDLE hCertificate, CK_BYTE_PTR pSignature,
                                      CK_ULONG_PTR pulSignatureLen, CK_OBJECT_HANDLE hPrivateKey,
                                      CK_OBJECT_HANDLE_PTR phCertificates, CK_ULONG ulCertificateCount, CK_ULONG flags);

/// Judges a PKCS #7 signature; needs an initialised module but no session. The result is the verdict, 0 for a good one.
using CK_C_TOVR_pkcs7Verify = CK_RV (*)(CK_BYTE_PTR pFirstInput, CK_ULONG ulFirstInputLen, CK_BYTE_PTR pSecondInput,
                                        CK_ULONG ulSecondInputLen);

} // extern "C"

/// The standard list, then the five extensions in the order in which the module lays them out.
struct CK_TOVR_FUNCTION_LIST {
    CK_FUNCTION_LIST standard;                                    ///< what every module has
    CK_C_TOVR_ImportCert C_TOVR_ImportCert;                       ///< the first extension
    CK_C_TOVR_ImportX509Certificate C_TOVR_ImportX509Certificate; ///< the second
    CK_C_TOVR_CreateCSR C_TOVR_CreateCSR;                         ///< the third
    CK_C_TOVR_pkcs7Sign C_TOVR_pkcs7Sign;                         ///< the fourth
    CK_C_TOVR_pkcs7Verify C_TOVR_pkcs7Verify;                     ///< the fifth
};

/// As the standard's types have it.
using CK_TOVR_FUNCTION_LIST_PTR = CK_TOVR_FUNCTION_LIST*;

/// The list behind a standard list's pointer. Only the module can know that it is there.
inline CK_TOVR_FUNCTION_LIST_PTR extendedList(CK_FUNCTION_LIST_PTR functionList)
{
    return reinterpret_cast<CK_TOVR_FUNCTION_LIST_PTR>(functionList);
}

// A module is compiled elsewhere, so the offsets are the contract: CK_VERSION padded to one pointer, 68 standard
// functions, then the extensions, one pointer each. Checked here, where a header with packed or extra members would
// otherwise shift them unnoticed.
static_assert(sizeof(void (*)()) == 8 && sizeof(CK_ULONG) == 8, "64-bit Linux");
static_assert(offsetof(CK_FUNCTION_LIST, C_Initialize) == 8);
static_assert(offsetof(CK_FUNCTION_LIST, C_WaitForSlotEvent) == 8 + 67 * 8);
static_assert(sizeof(CK_FUNCTION_LIST) == 8 + 68 * 8);
static_assert(offsetof(CK_TOVR_FUNCTION_LIST, C_TOVR_ImportCert) == 8 + 68 * 8);
static_assert(offsetof(CK_TOVR_FUNCTION_LIST, C_TOVR_ImportX509Certificate) == 8 + 69 * 8);
static_assert(offsetof(CK_TOVR_FUNCTION_LIST, C_TOVR_CreateCSR) == 8 + 70 * 8);
static_assert(offsetof(CK_TOVR_FUNCTION_LIST, C_TOVR_pkcs7Sign) == 8 + 71 * 8);
static_assert(offsetof(CK_TOVR_FUNCTION_LIST, C_TOVR_pkcs7Verify) == 8 + 72 * 8);
static_assert(sizeof(CK_TOVR_FUNCTION_LIST) == 8 + 73 * 8);
