// SPDX-License-Identifier: Apache-2.0
// The session in which a job works, and the authenticated one that most of a wrapper's operations open for theirs.
#pragma once

#include "p11/P11Wrapper.h"
#include "p11/diagnostics.h"
#include "p11/outcome.h"

/// True when operations may use the module. Otherwise the line "Not Initialized" is written.
[[nodiscard]] inline bool isReady(const P11Wrapper& wrapper)
{
    if (!wrapper.initialized)
        diagnose(standardOutput, "Not Initialized");
    return wrapper.initialized;
}

/// An open session as a job sees it. A job never closes the session: whoever opened it does.
struct Session {
    CK_FUNCTION_LIST_PTR functions;
    CK_SESSION_HANDLE handle;
    const Diagnostics& lines;
    CK_RV loginCode = CKR_OK; ///< CKR_OK or CKR_USER_ALREADY_LOGGED_IN
};

/// Opens a read/write session (PKCS #11 v2.40, section 5.6).
inline Outcome openSession(CK_FUNCTION_LIST_PTR functions, CK_SLOT_ID slotId, CK_SESSION_HANDLE& handle)
{
    return {functions->C_OpenSession(slotId, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &handle),
            "C_OpenSession"};
}

/// Logs in. A login that the process has already counts as one. A refusal ends the operation.
inline Outcome logIn(Session& session, CK_USER_TYPE userType, CK_BYTE_PTR pin, CK_ULONG pinLen)
{
    session.loginCode = session.functions->C_Login(session.handle, userType, pin, pinLen);
    const bool loggedIn = session.loginCode == CKR_OK || session.loginCode == CKR_USER_ALREADY_LOGGED_IN;
    return {session.loginCode, "C_Login", loggedIn ? nullptr : "Login failed"};
}

/// A session of a wrapper's operation, closed at the end of its scope.
///
/// C_Logout is never called: it would end the login of all the application's sessions on the token.
class AuthenticatedSession {
public:
    /// Checks the wrapper and opens the session. A session that cannot be opened is reported by its code alone.
    AuthenticatedSession(const P11Wrapper& wrapper, CK_SLOT_ID slotId) : functions_(wrapper.functionList)
    {
        if (!isReady(wrapper))
            return;
        code_ = openSession(functions_, slotId, handle_).code;
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
        Session session{functions_, handle_, standardOutput};
        const Outcome login = logIn(session, userType, pin, pinLen);
        const Outcome outcome = login.endsOperation() ? login : job(session);
        close();
        outcome.writeLastWords(standardOutput);
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
