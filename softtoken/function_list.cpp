// SPDX-License-Identifier: Apache-2.0
#include "softtoken/function_list.h"

#include "softtoken/boundary.h"
#include "softtoken/certificates.h"
#include "softtoken/mechanisms.h"
#include "softtoken/messages.h"
#include "softtoken/pins.h"
#include "softtoken/reader.h"
#include "softtoken/requests.h"
#include "softtoken/slot.h"
#include "softtoken/store.h"
#include "softtoken/turn.h"
#include "softtoken/verification.h"
#include "softtoken/writing_calls.h"

namespace softtoken {
namespace {

using List = CK_FUNCTION_LIST;

/// What works in memory alone needs no turn in the store.
struct NoTurn {
    explicit NoTurn(const List&) {}
};

/// A function of this token as callers see it.
template <auto function, typename Access = Turn>
struct Own;
template <typename... Arguments, void (*function)(const List&, Arguments...), typename Access>
struct Own<function, Access> {
    static CK_RV call(Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) {
            const Access access(softHsm);
            function(softHsm, arguments...);
            return CKR_OK;
        });
    }
};

/// Likewise one that returns its refusals.
template <typename... Arguments, CK_RV (*function)(const List&, Arguments...), typename Access>
struct Own<function, Access> {
    static CK_RV call(Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) {
            const Access access(softHsm);
            return function(softHsm, arguments...);
        });
    }
};

/// A function of SoftHSM2's as callers see it.
template <auto member, typename Access>
struct Forwarded;
template <typename... Arguments, CK_RV (*List::*member)(Arguments...), typename Access>
struct Forwarded<member, Access> {
    static CK_RV call(Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) {
            const Access access(softHsm);
            return (softHsm.*member)(arguments...);
        });
    }
};

/// Likewise one that takes a slot first.
template <auto member>
struct ForwardedForSlot;
template <typename... Arguments, CK_RV (*List::*member)(CK_SLOT_ID, Arguments...)>
struct ForwardedForSlot<member> {
    static CK_RV call(CK_SLOT_ID slot, Arguments... arguments)
    {
        return atBoundary([&](const List& softHsm) {
            const Turn turn(softHsm);
            return (softHsm.*member)(softHsmSlot(softHsm, slot), arguments...);
        });
    }
};

template <auto... members>
constexpr void forward(List& list)
{
    ((list.*members = Forwarded<members, NoTurn>::call), ...);
}

/// Functions that read objects.
template <auto... members>
constexpr void forwardInTurn(List& list)
{
    ((list.*members = Forwarded<members, Turn>::call), ...);
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

constexpr CK_TOVR_FUNCTION_LIST makeList() noexcept
{
    CK_TOVR_FUNCTION_LIST list = {};
    List& standard = list.standard;
    standard.version = {2, 40};
    forward<&List::C_CloseSession, &List::C_GetOperationState, &List::C_SetOperationState, &List::C_Logout,
            &List::C_FindObjects, &List::C_FindObjectsFinal, &List::C_Encrypt, &List::C_EncryptUpdate,
            &List::C_EncryptFinal, &List::C_Decrypt, &List::C_DecryptUpdate, &List::C_DecryptFinal, &List::C_DigestInit,
            &List::C_Digest, &List::C_DigestUpdate, &List::C_DigestFinal, &List::C_Sign, &List::C_SignUpdate,
            &List::C_SignFinal, &List::C_SignRecover, &List::C_Verify, &List::C_VerifyUpdate, &List::C_VerifyFinal,
            &List::C_VerifyRecover, &List::C_DigestEncryptUpdate, &List::C_DecryptDigestUpdate,
            &List::C_SignEncryptUpdate, &List::C_DecryptVerifyUpdate, &List::C_SeedRandom, &List::C_GenerateRandom,
            &List::C_GetFunctionStatus, &List::C_CancelFunction, &List::C_WaitForSlotEvent>(standard);
    forwardInTurn<&List::C_GetObjectSize, &List::C_GetAttributeValue, &List::C_FindObjectsInit, &List::C_EncryptInit,
                  &List::C_DecryptInit, &List::C_DigestKey, &List::C_SignInit, &List::C_SignRecoverInit,
                  &List::C_VerifyInit, &List::C_VerifyRecoverInit, &List::C_WrapKey>(standard);
    forwardForSlot<&List::C_OpenSession, &List::C_CloseAllSessions>(standard);
    standard.C_Initialize = initialiseAtBoundary;
    standard.C_Finalize = Own<finalise, NoTurn>::call;
    standard.C_GetInfo = Own<getInfo, NoTurn>::call;
    // Not the exported symbol: where p11-kit is loaded too, that name may lead there.
    standard.C_GetFunctionList = getFunctionList;
    standard.C_GetSlotList = Own<getSlotList, NoTurn>::call;
    standard.C_GetSlotInfo = Own<getSlotInfo>::call;
    standard.C_GetTokenInfo = Own<getTokenInfo>::call;
    standard.C_GetMechanismList = Own<getMechanismList>::call;
    standard.C_GetMechanismInfo = Own<getMechanismInfo>::call;
    standard.C_InitToken = Own<initToken>::call;
    standard.C_InitPIN = Own<initPin>::call;
    standard.C_SetPIN = Own<setPin>::call;
    standard.C_Login = Own<login>::call;
    standard.C_CreateObject = Own<objects::create>::call;
    standard.C_CopyObject = Own<objects::copy>::call;
    standard.C_DestroyObject = Own<objects::destroy>::call;
    standard.C_SetAttributeValue = Own<objects::setAttributeValue>::call;
    standard.C_GenerateKey = Own<objects::generateKey>::call;
    standard.C_UnwrapKey = Own<objects::unwrapKey>::call;
    standard.C_DeriveKey = Own<objects::deriveKey>::call;
    standard.C_GetSessionInfo = Own<getSessionInfo, NoTurn>::call;
    standard.C_GenerateKeyPair = Own<generateKeyPair>::call;
    list.C_TOVR_ImportCert = Own<importCert>::call;
    list.C_TOVR_ImportX509Certificate = Own<importX509Certificate>::call;
    list.C_TOVR_CreateCSR = Own<createCsr>::call;
    list.C_TOVR_pkcs7Sign = Own<pkcs7Sign>::call;
    list.C_TOVR_pkcs7Verify = Own<pkcs7Verify, NoTurn>::call;
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
