// SPDX-License-Identifier: Apache-2.0
// How a step of an operation ends.
#pragma once

#include <p11-kit/pkcs11.h>

#include <string>

/// Which of an operation's searches a line is about: none, " #1" or " #3, Step: 2".
struct SearchNumber {
    unsigned search = 0;
    unsigned long step = 0;

    std::string text() const
    {
        if (search == 0)
            return {};
        return " #" + std::to_string(search) + (step == 0 ? "" : ", Step: " + std::to_string(step));
    }
};

/// A code, and the words of a line that has to wait until the session is closed. All other lines are written by the
/// steps themselves, while the session is open.
struct [[nodiscard]] Outcome {
    Outcome(CK_RV code) : code(code) {} // a step that has written its own line, or needs none
    Outcome(CK_RV code, const char* lastWords, SearchNumber number = {})
        : code(code), lastWords(lastWords), number(number)
    {
    }

    /// A failure whose line waits for the closing ends its operation.
    bool endsOperation() const { return lastWords != nullptr; }

    CK_RV code;
    const char* lastWords = nullptr; ///< "Login failed", say; ". Code: " and the code follow
    SearchNumber number{};
};
