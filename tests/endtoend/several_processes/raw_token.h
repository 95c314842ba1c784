// SPDX-License-Identifier: Apache-2.0
// The software token through its function list, for programs that are not tests.
#pragma once

#include "tests/endtoend/softtoken/soft_token.h"

#include <map>
#include <string>

namespace endtoend {

/// The initialised module and a session. A call that fails unexpectedly throws a line that names the call and its code.
class RawToken {
public:
    RawToken();

    CK_FUNCTION_LIST* operator->() const { return module_.standard(); }
    CK_SESSION_HANDLE session() const { return session_; }
    void startAgain();

    CK_RV login(std::string pin) const;
    CK_RV changePin(std::string from, std::string to) const;
    void logout() const;

    /// A data object on the token. Its value is made of its label, and longer than a block of a file.
    CK_RV create(const std::string& label) const;
    CK_RV relabel(CK_OBJECT_HANDLE object, std::string label) const;
    CK_RV destroy(CK_OBJECT_HANDLE object) const;

    /// The data objects by label. Fails where one comes twice.
    std::map<std::string, CK_OBJECT_HANDLE> objects() const;
    Bytes value(CK_OBJECT_HANDLE object) const;
    static Bytes valueFor(const std::string& label);

private:
    void start();

    Module module_;
    CK_SESSION_HANDLE session_ = CK_INVALID_HANDLE;
};

/// Throws unless the code is CKR_OK.
void must(CK_RV rv, const std::string& what);

} // namespace endtoend
