// SPDX-License-Identifier: Apache-2.0
// The instant module's function list. Like a maker's module it exports all functions by name, so that the dynamic
// loader has as much to do; those that no operation of the library calls stand here and do nothing.
#include "bench/instant_module.h"

#define UNSUPPORTED(name, ...)                                                                                         \
    CK_RV name(__VA_ARGS__)                                                                                            \
    {                                                                                                                  \
        return CKR_FUNCTION_NOT_SUPPORTED;                                                                             \
    }

extern "C" {

UNSUPPORTED(C_GetInfo, CK_INFO_PTR)
UNSUPPORTED(C_GetMechanismList, CK_SLOT_ID, CK_MECHANISM_TYPE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_GetMechanismInfo, CK_SLOT_ID, CK_MECHANISM_TYPE, CK_MECHANISM_INFO_PTR)
UNSUPPORTED(C_InitPIN, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_CloseAllSessions, CK_SLOT_ID)
UNSUPPORTED(C_GetOperationState, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_SetOperationState, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE)
UNSUPPORTED(C_Logout, CK_SESSION_HANDLE)
UNSUPPORTED(C_CopyObject, CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR)
UNSUPPORTED(C_GetObjectSize, CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ULONG_PTR)
UNSUPPORTED(C_SetAttributeValue, CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG)
UNSUPPORTED(C_EncryptInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
UNSUPPORTED(C_Encrypt, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_EncryptUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_EncryptFinal, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DecryptInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
UNSUPPORTED(C_Decrypt, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DecryptUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DecryptFinal, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DigestInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR)
UNSUPPORTED(C_Digest, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DigestUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_DigestKey, CK_SESSION_HANDLE, CK_OBJECT_HANDLE)
UNSUPPORTED(C_DigestFinal, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_SignInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
UNSUPPORTED(C_Sign, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_SignUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_SignFinal, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_SignRecoverInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
UNSUPPORTED(C_SignRecover, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_VerifyInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
UNSUPPORTED(C_Verify, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_VerifyUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_VerifyFinal, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_VerifyRecoverInit, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
UNSUPPORTED(C_VerifyRecover, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DigestEncryptUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DecryptDigestUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_SignEncryptUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_DecryptVerifyUpdate, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
UNSUPPORTED(C_GenerateKey, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR)
UNSUPPORTED(C_WrapKey, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE, CK_BYTE_PTR,
            CK_ULONG_PTR)
UNSUPPORTED(C_UnwrapKey, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_ATTRIBUTE_PTR,
            CK_ULONG, CK_OBJECT_HANDLE_PTR)
UNSUPPORTED(C_DeriveKey, CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG,
            CK_OBJECT_HANDLE_PTR)
UNSUPPORTED(C_SeedRandom, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_GenerateRandom, CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
UNSUPPORTED(C_GetFunctionStatus, CK_SESSION_HANDLE)
UNSUPPORTED(C_CancelFunction, CK_SESSION_HANDLE)
UNSUPPORTED(C_WaitForSlotEvent, CK_FLAGS, CK_SLOT_ID_PTR, void*)

static CK_TOVR_FUNCTION_LIST functionList = {{{2, 40},
                                              C_Initialize,
                                              C_Finalize,
                                              C_GetInfo,
                                              C_GetFunctionList,
                                              C_GetSlotList,
                                              C_GetSlotInfo,
                                              C_GetTokenInfo,
                                              C_GetMechanismList,
                                              C_GetMechanismInfo,
                                              C_InitToken,
                                              C_InitPIN,
                                              C_SetPIN,
                                              C_OpenSession,
                                              C_CloseSession,
                                              C_CloseAllSessions,
                                              C_GetSessionInfo,
                                              C_GetOperationState,
                                              C_SetOperationState,
                                              C_Login,
                                              C_Logout,
                                              C_CreateObject,
                                              C_CopyObject,
                                              C_DestroyObject,
                                              C_GetObjectSize,
                                              C_GetAttributeValue,
                                              C_SetAttributeValue,
                                              C_FindObjectsInit,
                                              C_FindObjects,
                                              C_FindObjectsFinal,
                                              C_EncryptInit,
                                              C_Encrypt,
                                              C_EncryptUpdate,
                                              C_EncryptFinal,
                                              C_DecryptInit,
                                              C_Decrypt,
                                              C_DecryptUpdate,
                                              C_DecryptFinal,
                                              C_DigestInit,
                                              C_Digest,
                                              C_DigestUpdate,
                                              C_DigestKey,
                                              C_DigestFinal,
                                              C_SignInit,
                                              C_Sign,
                                              C_SignUpdate,
                                              C_SignFinal,
                                              C_SignRecoverInit,
                                              C_SignRecover,
                                              C_VerifyInit,
                                              C_Verify,
                                              C_VerifyUpdate,
                                              C_VerifyFinal,
                                              C_VerifyRecoverInit,
                                              C_VerifyRecover,
                                              C_DigestEncryptUpdate,
                                              C_DecryptDigestUpdate,
                                              C_SignEncryptUpdate,
                                              C_DecryptVerifyUpdate,
                                              C_GenerateKey,
                                              C_GenerateKeyPair,
                                              C_WrapKey,
                                              C_UnwrapKey,
                                              C_DeriveKey,
                                              C_SeedRandom,
                                              C_GenerateRandom,
                                              C_GetFunctionStatus,
                                              C_CancelFunction,
                                              C_WaitForSlotEvent},
                                             instantImportCert,
                                             instantImportX509Certificate,
                                             instantCreateCsr,
                                             instantPkcs7Sign,
                                             instantPkcs7Verify};

CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    *list = &functionList.standard;
    return CKR_OK;
}

} // extern "C"
