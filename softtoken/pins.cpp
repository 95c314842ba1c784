// SPDX-License-Identifier: Apache-2.0
#include "softtoken/pins.h"

#include "softtoken/failure.h"
#include "softtoken/opened_store.h"
#include "softtoken/reopening.h"
#include "softtoken/slot.h"
#include "softtoken/transaction.h"

namespace softtoken {
namespace {

bool isAnyoneLoggedIn(CK_STATE state)
{
    return state != CKS_RO_PUBLIC_SESSION && state != CKS_RW_PUBLIC_SESSION;
}

CK_STATE stateOf(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session)
{
    CK_SESSION_INFO info;
    check(softHsm.C_GetSessionInfo(session, &info));
    return info.state;
}

void count(std::uint64_t tries, bool locked)
{
    Record& record = openedStore().lock.record;
    record.tries = tries;
    record.locked = locked ? 1 : 0;
    openedStore().lock.saveDurably();
}

/// A job that tries a user PIN. The try is counted before, so that it counts even where this process dies meanwhile.
void tryUserPin(const Job& job)
{
    const unsigned limit = openedStore().settings.pinTries;
    const Record before = openedStore().lock.record;
    require(!before.locked, CKR_PIN_LOCKED);
    if (limit != 0) {
        const bool exhausted = before.tries >= limit;
        count(exhausted ? before.tries : before.tries + 1, before.tries + 1 >= limit);
        require(!exhausted, CKR_PIN_LOCKED);
    }
    try {
        job();
    } catch (const Failure& failure) {
        if (limit != 0 && failure.code != CKR_PIN_INCORRECT)
            count(before.tries, false); // the PIN was not judged
        throw;
    }
    if (limit != 0 || before.tries != 0)
        count(0, false);
}

} // namespace

void readPinsAgain(const CK_FUNCTION_LIST& softHsm)
{
    if (!openedStore().knowsPins())
        reopen(softHsm);
}

void forgiveTries()
{
    const Record& record = openedStore().lock.record;
    if (record.tries != 0 || record.locked != 0)
        count(0, false);
}

void showTries(CK_TOKEN_INFO& info)
{
    const Record& record = openedStore().lock.record;
    const unsigned limit = openedStore().settings.pinTries;
    info.flags &= ~(CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED);
    if (record.tries != 0)
        info.flags |= CKF_USER_PIN_COUNT_LOW;
    if (record.locked != 0)
        info.flags |= CKF_USER_PIN_LOCKED;
    else if (limit != 0 && record.tries + 1 >= limit)
        info.flags |= CKF_USER_PIN_FINAL_TRY;
}

CK_RV login(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_USER_TYPE userType, CK_UTF8CHAR_PTR pin,
            CK_ULONG pinLen)
{
    const CK_STATE state = stateOf(softHsm, session);
    // Whoever is logged in stays so, and SoftHSM2 looks at no PIN; but nobody may prove anything again with a replaced
    // one.
    if (isAnyoneLoggedIn(state) && userType != CKU_CONTEXT_SPECIFIC)
        return softHsm.C_Login(session, userType, pin, pinLen);
    readPinsAgain(softHsm);
    const auto tryPin = [&] { writeLogin([&] { check(softHsm.C_Login(session, userType, pin, pinLen)); }); };
    const bool isUser = userType == CKU_USER || (userType == CKU_CONTEXT_SPECIFIC && state != CKS_RW_SO_FUNCTIONS);
    if (isUser)
        tryUserPin(tryPin);
    else
        tryPin();
    return CKR_OK;
}

void initPin(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR pin, CK_ULONG pinLen)
{
    changePin([&] {
        // Has SoftHSM2 read the token's file: it writes all of it, so also a security officer's PIN that another
        // process may have changed since.
        CK_TOKEN_INFO info;
        check(softHsm.C_GetTokenInfo(softHsmSlot(softHsm), &info));
        check(softHsm.C_InitPIN(session, pin, pinLen));
    });
    forgiveTries();
}

void setPin(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR oldPin, CK_ULONG oldLen,
            CK_UTF8CHAR_PTR newPin, CK_ULONG newLen)
{
    const CK_STATE state = stateOf(softHsm, session);
    const bool isOfficer = state == CKS_RW_SO_FUNCTIONS;
    const auto change = [&] {
        if (!openedStore().knowsPins()) {
            readPinsAgain(softHsm);
            if (isAnyoneLoggedIn(state))
                writeLogin([&] { check(softHsm.C_Login(session, isOfficer ? CKU_SO : CKU_USER, oldPin, oldLen)); });
        }
        changePin([&] { check(softHsm.C_SetPIN(session, oldPin, oldLen, newPin, newLen)); });
    };
    if (isOfficer)
        change();
    else
        tryUserPin(change);
}

} // namespace softtoken
