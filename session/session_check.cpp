// SPDX-License-Identifier: Apache-2.0
#include "session/session_check.h"

#include <string_view>

namespace {

bool missesAnObject(const Outcome& outcome)
{
    return std::string_view(outcome.step) == emptySearch || outcome.code == CKR_OBJECT_HANDLE_INVALID ||
           outcome.code == CKR_KEY_HANDLE_INVALID;
}

Outcome unlessEnded(const Session& session, const Outcome& outcome)
{
    const Outcome check = checkSession(session);
    if (check.code == CKR_OK)
        return outcome;
    outcome.writeLastWords(session.lines);
    return check;
}

} // namespace

Outcome checkSession(const Session& session)
{
    CK_SESSION_INFO info{};
    Outcome login(session.functions->C_GetSessionInfo(session.handle, &info), "C_GetSessionInfo");
    if (login.code == CKR_OK && info.state != CKS_RO_USER_FUNCTIONS && info.state != CKS_RW_USER_FUNCTIONS)
        login.code = CKR_USER_NOT_LOGGED_IN;
    if (login.code != CKR_OK)
        return login;
    CK_SLOT_INFO slot{};
    Outcome card(session.functions->C_GetSlotInfo(info.slotID, &slot), "C_GetSlotInfo");
    if (card.code == CKR_OK && (slot.flags & CKF_TOKEN_PRESENT) == 0)
        card.code = CKR_DEVICE_REMOVED;
    return card;
}

Outcome explained(const Session& session, const Outcome& outcome)
{
    return missesAnObject(outcome) ? unlessEnded(session, outcome) : outcome;
}

Outcome complete(const Session& session, const Outcome& outcome)
{
    return outcome.code == CKR_OK ? unlessEnded(session, outcome) : explained(session, outcome);
}
