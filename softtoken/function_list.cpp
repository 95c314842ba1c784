#include "softtoken/function_list.h"

#include "softtoken/boundary.h"
#include "softtoken/certificates.h"
#include "softtoken/mechanisms.h"
#include "softtoken/messages.h"
#include "softtoken/reader.h"
#include "softtoken/recovery.h"
#include "softtoken/requests.h"
#include "softtoken/store.h"
#include "softtoken/verification.h"

namespace softtoken {
namespace {

using List = CK_FUNCTION_LIST;

/// A function of this token as callers see it.
template <auto function>
struct Own;
template <typename... Arguments, void (*function)(const List&, Arguments...)>
struct Own<function> {
    static CK_RV call(Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) {
            function(softHsm, arguments...);
            return CKR_OK;
        });
    }
};

/// A function of SoftHSM2's as callers see it.
template <auto member>
struct Forwarded;
template <typename... Arguments, CK_RV (*List::*member)(Arguments...)>
struct Forwarded<member> {
    static CK_RV call(Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) { return (softHsm.*member)(arguments...); });
    }
};

/// Likewise one that takes a slot first.
template <auto member>
struct ForwardedForSlot;
template <typename... Arguments, CK_RV (*List::*member)(CK_SLOT_ID, Arguments...)>
struct ForwardedForSlot<member> {
    static CK_RV call(CK_SLOT_ID slot, Arguments... arguments)
    {
        return atBoundary(
            [&](const List& softHsm) { return (softHsm.*member)(softHsmSlot(softHsm, slot), arguments...); });
    }
};

/// Likewise one that changes a PIN.
template <auto member>
struct ForwardedAndKept;
template <typename... Arguments, CK_RV (*List::*member)(Arguments...)>
struct ForwardedAndKept<member> {
    static CK_RV call(Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) {
            const CK_RV rv = (softHsm.*member)(arguments...);
            if (rv == CKR_OK)
                keepTokenFiles();
            return rv;
        });
    }
};

template <auto... members>
constexpr void forward(List& list)
{
    ((list.*members = Forwarded<members>::call), ...);
}

template <auto... members>
constexpr void forwardForSlot(List& list)
{
    ((list.*members = ForwardedForSlot<members>::call), ...);
}

/// Behind the gate SoftHSM2 needs no locks. With locks of its own it would wait for ever at the exit of a child that
/// was forked while one was held.
CK_C_INITIALIZE_ARGS withoutLocks(CK_C_INITIALIZE_ARGS arguments)
{
    arguments.flags &= ~static_cast<CK_FLAGS>(CKF_OS_LOCKING_OK);
    // Some but not all of the four are an error, which SoftHSM2 tells.
    if (arguments.CreateMutex && arguments.DestroyMutex && arguments.LockMutex && arguments.UnlockMutex) {
        arguments.CreateMutex = nullptr;
        arguments.DestroyMutex = nullptr;
        arguments.LockMutex = nullptr;
        arguments.UnlockMutex = nullptr;
    }
    return arguments;
}

CK_RV initialiseAtBoundary(CK_VOID_PTR arguments)
{
    return atInitialisation([&](const List& softHsm) {
        if (arguments) {
            CK_C_INITIALIZE_ARGS given = withoutLocks(*static_cast<CK_C_INITIALIZE_ARGS_PTR>(arguments));
            initialise(softHsm, &given);
        } else
            initialise(softHsm, nullptr);
        return CKR_OK;
    });
}

constexpr CK_TOVR_FUNCTION_LIST makeList()
{
    CK_TOVR_FUNCTION_LIST list = {};
    List& standard = list.standard;
    standard.version = {2, 40};
    forward<&List::C_Finalize, &List::C_CloseSession, &List::C_GetOperationState, &List::C_SetOperationState,
            &List::C_Login, &List::C_Logout, &List::C_CreateObject, &List::C_CopyObject, &List::C_DestroyObject,
            &List::C_GetObjectSize, &List::C_GetAttributeValue, &List::C_SetAttributeValue, &List::C_FindObjectsInit,
            &List::C_FindObjects, &List::C_FindObjectsFinal, &List::C_EncryptInit, &List::C_Encrypt,
            &List::C_EncryptUpdate, &List::C_EncryptFinal, &List::C_DecryptInit, &List::C_Decrypt,
            &List::C_DecryptUpdate, &List::C_DecryptFinal, &List::C_DigestInit, &List::C_Digest, &List::C_DigestUpdate,
            &List::C_DigestKey, &List::C_DigestFinal, &List::C_SignInit, &List::C_Sign, &List::C_SignUpdate,
            &List::C_SignFinal, &List::C_SignRecoverInit, &List::C_SignRecover, &List::C_VerifyInit, &List::C_Verify,
            &List::C_VerifyUpdate, &List::C_VerifyFinal, &List::C_VerifyRecoverInit, &List::C_VerifyRecover,
            &List::C_DigestEncryptUpdate, &List::C_DecryptDigestUpdate, &List::C_SignEncryptUpdate,
            &List::C_DecryptVerifyUpdate, &List::C_GenerateKey, &List::C_WrapKey, &List::C_UnwrapKey,
            &List::C_DeriveKey, &List::C_SeedRandom, &List::C_GenerateRandom, &List::C_GetFunctionStatus,
            &List::C_CancelFunction, &List::C_WaitForSlotEvent>(standard);
    forwardForSlot<&List::C_OpenSession, &List::C_CloseAllSessions>(standard);
    standard.C_InitPIN = ForwardedAndKept<&List::C_InitPIN>::call;
    standard.C_SetPIN = ForwardedAndKept<&List::C_SetPIN>::call;
    standard.C_Initialize = initialiseAtBoundary;
    standard.C_GetInfo = Own<getInfo>::call;
    // Not the exported symbol: where p11-kit is loaded too, that name may lead there.
    standard.C_GetFunctionList = getFunctionList;
    standard.C_GetSlotList = Own<getSlotList>::call;
    standard.C_GetSlotInfo = Own<getSlotInfo>::call;
    standard.C_GetTokenInfo = Own<getTokenInfo>::call;
    standard.C_GetMechanismList = Own<getMechanismList>::call;
    standard.C_GetMechanismInfo = Own<getMechanismInfo>::call;
    standard.C_InitToken = Own<initToken>::call;
    standard.C_GetSessionInfo = Own<getSessionInfo>::call;
    standard.C_GenerateKeyPair = Own<generateKeyPair>::call;
    list.C_TOVR_ImportCert = Own<importCert>::call;
    list.C_TOVR_ImportX509Certificate = Own<importX509Certificate>::call;
    list.C_TOVR_CreateCSR = Own<createCsr>::call;
    list.C_TOVR_pkcs7Sign = Own<pkcs7Sign>::call;
    list.C_TOVR_pkcs7Verify = Own<pkcs7Verify>::call;
    return list;
}

} // namespace

CK_TOVR_FUNCTION_LIST functionList = makeList();

CK_RV getFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    if (!list)
        return CKR_ARGUMENTS_BAD;
    *list = &functionList.standard;
    return CKR_OK;
}

} // namespace softtoken
