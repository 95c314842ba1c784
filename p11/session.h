// The guard that every operation begins with, and the authenticated session that most of them work in.
#pragma once

#include "p11/P11Wrapper.h"
#include "p11/diagnostics.h"

/// True when operations may use the module; otherwise the line "Not Initialized" is written.
inline bool isReady(const P11Wrapper& wrapper)
{
    if (!wrapper.initialized)
        diagnose("Not Initialized");
    return wrapper.initialized;
}

/// A read/write session with a login, closed at the end of its scope (PKCS #11 v2.40, section 5.6).
///
/// C_Logout is never called: it would end the login of all the application's sessions on the token.
class AuthenticatedSession {
public:
    /// Checks the wrapper, opens the session and logs in, as far as each step succeeds. A refused login closes the
    /// session before its line is written.
    AuthenticatedSession(const P11Wrapper& wrapper, CK_SLOT_ID slotId, CK_USER_TYPE userType, CK_BYTE_PTR pin,
                         CK_ULONG pinLen)
        : functions_(wrapper.functionList)
    {
        if (!isReady(wrapper))
            return;
        result_ = functions_->C_OpenSession(slotId, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &handle_);
        open_ = wasOpened_ = result_ == CKR_OK;
        if (!open_)
            return;
        result_ = functions_->C_Login(handle_, userType, pin, pinLen);
        if (result_ != CKR_OK && result_ != CKR_USER_ALREADY_LOGGED_IN) {
            close();
            diagnose("Login failed. Code: ", result_);
        }
    }

    ~AuthenticatedSession() { close(); }

    AuthenticatedSession(const AuthenticatedSession&) = delete;
    AuthenticatedSession& operator=(const AuthenticatedSession&) = delete;

    /// Open and logged in.
    explicit operator bool() const { return open_; }

    /// The code of the last step: 0 or 0x100 after a login, else why there was none. Closing does not change it.
    CK_RV result() const { return result_; }

    /// Whether C_OpenSession succeeded, also when the session is closed again.
    bool wasOpened() const { return wasOpened_; }

    CK_SESSION_HANDLE handle() const { return handle_; }
    CK_FUNCTION_LIST_PTR functions() const { return functions_; }

    /// Closes the session early, where a line is to follow the closing. Does nothing the second time.
    void close()
    {
        if (!open_)
            return;
        open_ = false;
        (void)functions_->C_CloseSession(handle_); // the job's result counts; there is nothing to do about this one
    }

private:
    CK_FUNCTION_LIST_PTR functions_;
    CK_SESSION_HANDLE handle_ = CK_INVALID_HANDLE;
    CK_RV result_ = CKR_GENERAL_ERROR;
    bool open_ = false;
    bool wasOpened_ = false;
};
