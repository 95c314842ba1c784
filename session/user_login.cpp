// SPDX-License-Identifier: Apache-2.0
#include "session/user_login.h"

namespace {

bool missesAnObject(const Outcome& outcome)
{
    return outcome.step == emptySearch || outcome.code == CKR_OBJECT_HANDLE_INVALID ||
           outcome.code == CKR_KEY_HANDLE_INVALID;
}

Outcome withLogin(const Session& session, const Outcome& outcome)
{
    const Outcome login = checkUserLogin(session);
    if (login.code == CKR_OK)
        return outcome;
    outcome.writeLastWords(session.lines);
    return login;
}

} // namespace

Outcome checkUserLogin(const Session& session)
{
    CK_SESSION_INFO info{};
    Outcome outcome(session.functions->C_GetSessionInfo(session.handle, &info), "C_GetSessionInfo");
    if (outcome.code == CKR_OK && info.state != CKS_RO_USER_FUNCTIONS && info.state != CKS_RW_USER_FUNCTIONS)
        outcome.code = CKR_USER_NOT_LOGGED_IN;
    return outcome;
}

Outcome explained(const Session& session, const Outcome& outcome)
{
    return missesAnObject(outcome) ? withLogin(session, outcome) : outcome;
}

Outcome complete(const Session& session, const Outcome& outcome)
{
    return outcome.code == CKR_OK ? withLogin(session, outcome) : explained(session, outcome);
}
