// SPDX-License-Identifier: Apache-2.0
// The guard that every operation begins with, and the authenticated session that most of them work in.
#pragma once

#include "p11/P11Wrapper.h"
#include "p11/diagnostics.h"
#include "p11/outcome.h"

/// True when operations may use the module. Otherwise the line "Not Initialized" is written.
[[nodiscard]] inline bool isReady(const P11Wrapper& wrapper)
{
    if (!wrapper.initialized)
        diagnose("Not Initialized");
    return wrapper.initialized;
}

/// An open session with a login, as a job sees it. A job never closes the session: whoever opened it does.
struct Session {
    CK_FUNCTION_LIST_PTR functions;
    CK_SESSION_HANDLE handle;
    CK_RV loginCode; ///< CKR_OK or CKR_USER_ALREADY_LOGGED_IN
};

/// A read/write session, closed at the end of its scope (PKCS #11 v2.40, section 5.6).
///
/// C_Logout is never called: it would end the login of all the application's sessions on the token.
class AuthenticatedSession {
public:
    /// Checks the wrapper and opens the session. A session that cannot be opened is reported by its code alone.
    AuthenticatedSession(const P11Wrapper& wrapper, CK_SLOT_ID slotId) : functions_(wrapper.functionList)
    {
        if (!isReady(wrapper))
            return;
        code_ = functions_->C_OpenSession(slotId, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &handle_);
        open_ = code_ == CKR_OK;
    }

    ~AuthenticatedSession() { close(); }

    AuthenticatedSession(const AuthenticatedSession&) = delete;
    AuthenticatedSession& operator=(const AuthenticatedSession&) = delete;

    bool isOpen() const { return open_; }

    /// Why the session is not open: 5 for a wrapper that is not initialised, else the code of C_OpenSession.
    CK_RV code() const { return code_; }

    /// Logs in, runs `job` (from a Session to an Outcome) and closes the session. The line of a refused login, of a
    /// search that could not start or of a failed import is written after the closing.
    template <typename Job>
    [[nodiscard]] CK_RV run(CK_USER_TYPE userType, CK_BYTE_PTR pin, CK_ULONG pinLen, const Job& job)
    {
        if (!open_)
            return code_;
        const CK_RV login = functions_->C_Login(handle_, userType, pin, pinLen);
        const bool loggedIn = login == CKR_OK || login == CKR_USER_ALREADY_LOGGED_IN;
        const Outcome outcome =
            loggedIn ? Outcome(job(Session{functions_, handle_, login})) : Outcome(login, "Login failed");
        close();
        if (outcome.endsOperation())
            diagnose(outcome.lastWords, outcome.number.text(), ". Code: ", outcome.code);
        return outcome.code;
    }

private:
    void close()
    {
        if (!open_)
            return;
        open_ = false;
        (void)functions_->C_CloseSession(handle_); // the job's code counts; there is nothing to do about this one
    }

    CK_FUNCTION_LIST_PTR functions_;
    CK_SESSION_HANDLE handle_ = CK_INVALID_HANDLE;
    CK_RV code_ = CKR_GENERAL_ERROR;
    bool open_ = false;
};

/// Runs `job` in an authenticated session of its own.
template <typename Job>
[[nodiscard]] CK_RV runInSession(const P11Wrapper& wrapper, CK_SLOT_ID slotId, CK_USER_TYPE userType, CK_BYTE_PTR pin,
                                 CK_ULONG pinLen, const Job& job)
{
    return AuthenticatedSession(wrapper, slotId).run(userType, pin, pinLen, job);
}
