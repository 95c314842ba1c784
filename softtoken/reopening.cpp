// SPDX-License-Identifier: Apache-2.0
#include "softtoken/reopening.h"

#include "softtoken/failure.h"
#include "softtoken/opened_store.h"
#include "softtoken/slot.h"

#include <map>

namespace softtoken {
namespace {

/// SoftHSM2 numbers sessions and objects alike, from 1 on, and never uses a number twice. The next one.
CK_SESSION_HANDLE takeNumber(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_FLAGS flags)
{
    CK_SESSION_HANDLE handle = CK_INVALID_HANDLE;
    const CK_RV rv = softHsm.C_OpenSession(slot, flags, nullptr, nullptr, &handle);
    return rv == CKR_OK ? handle : CK_INVALID_HANDLE;
}

/// The open sessions' flags by their handles.
std::map<CK_SESSION_HANDLE, CK_FLAGS> openSessions(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE end)
{
    std::map<CK_SESSION_HANDLE, CK_FLAGS> sessions;
    for (CK_SESSION_HANDLE handle = 1; handle < end; ++handle) {
        CK_SESSION_INFO info;
        if (softHsm.C_GetSessionInfo(handle, &info) == CKR_OK)
            sessions[handle] = info.flags;
    }
    return sessions;
}

} // namespace

void reopen(const CK_FUNCTION_LIST& softHsm)
{
    constexpr CK_FLAGS any = CKF_SERIAL_SESSION | CKF_RW_SESSION;
    const CK_SESSION_HANDLE end = takeNumber(softHsm, softHsmSlot(softHsm), any);
    const auto sessions = openSessions(softHsm, end);
    check(softHsm.C_Finalize(nullptr));
    check(softHsm.C_Initialize(nullptr));
    openedStore().hasRead();

    // Every number up to the last is used up, so that no old handle becomes a new object's.
    const CK_SLOT_ID slot = softHsmSlot(softHsm);
    for (CK_SESSION_HANDLE number = 1; number <= end; ++number) {
        const auto session = sessions.find(number);
        const CK_SESSION_HANDLE taken = takeNumber(softHsm, slot, session == sessions.end() ? any : session->second);
        if (taken == CK_INVALID_HANDLE)
            return; // the token is blank now and has no sessions
        if (session == sessions.end())
            (void)softHsm.C_CloseSession(taken); // has just been opened
    }
}

} // namespace softtoken
