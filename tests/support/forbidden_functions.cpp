// SPDX-License-Identifier: Apache-2.0
#include "tests/support/forbidden_functions.h"

#include "tests/support/scripted_module.h"

namespace scripted {

// clang-format off
#define FORBID(name) list.name = [](auto...) -> CK_RV { forbiddenCall(#name); return CKR_GENERAL_ERROR; }
// clang-format on

void forbidAll(CK_FUNCTION_LIST& list)
{
    FORBID(C_GetInfo);
    FORBID(C_GetFunctionList);
    FORBID(C_GetMechanismList);
    FORBID(C_GetMechanismInfo);
    FORBID(C_InitPIN);
    FORBID(C_CloseAllSessions);
    FORBID(C_GetOperationState);
    FORBID(C_SetOperationState);
    FORBID(C_Logout);
    FORBID(C_CreateObject);
    FORBID(C_CopyObject);
    FORBID(C_GetObjectSize);
    FORBID(C_SetAttributeValue);
    FORBID(C_EncryptInit);
    FORBID(C_Encrypt);
    FORBID(C_EncryptUpdate);
    FORBID(C_EncryptFinal);
    FORBID(C_DecryptInit);
    FORBID(C_Decrypt);
    FORBID(C_DecryptUpdate);
    FORBID(C_DecryptFinal);
    FORBID(C_DigestInit);
    FORBID(C_Digest);
    FORBID(C_DigestUpdate);
    FORBID(C_DigestKey);
    FORBID(C_DigestFinal);
    FORBID(C_SignInit);
    FORBID(C_Sign);
    FORBID(C_SignUpdate);
    FORBID(C_SignFinal);
    FORBID(C_SignRecoverInit);
    FORBID(C_SignRecover);
    FORBID(C_VerifyInit);
    FORBID(C_Verify);
    FORBID(C_VerifyUpdate);
    FORBID(C_VerifyFinal);
    FORBID(C_VerifyRecoverInit);
    FORBID(C_VerifyRecover);
    FORBID(C_DigestEncryptUpdate);
    FORBID(C_DecryptDigestUpdate);
    FORBID(C_SignEncryptUpdate);
    FORBID(C_DecryptVerifyUpdate);
    FORBID(C_GenerateKey);
    FORBID(C_WrapKey);
    FORBID(C_UnwrapKey);
    FORBID(C_DeriveKey);
    FORBID(C_SeedRandom);
    FORBID(C_GenerateRandom);
    FORBID(C_GetFunctionStatus);
    FORBID(C_CancelFunction);
    FORBID(C_WaitForSlotEvent);
}

} // namespace scripted
