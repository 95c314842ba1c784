// SPDX-License-Identifier: Apache-2.0
// How a step of an operation ends.
#pragma once

#include "p11/diagnostics.h"

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

/// The code and the name of the function that gave it. The words are those of a line that has to wait until the session
/// is closed; a step writes all other lines itself, while the session is open.
struct [[nodiscard]] Outcome {
    Outcome(CK_RV code, const char* step, const char* lastWords = nullptr, SearchNumber number = {})
        : code(code), step(step), lastWords(lastWords), number(number)
    {
    }

    /// A failure whose line waits for the closing ends its operation.
    bool endsOperation() const { return lastWords != nullptr; }

    /// Writes the line that has waited, if there is one.
    void writeLastWords(const Diagnostics& lines) const
    {
        if (endsOperation())
            diagnose(lines, lastWords, number.text(), ". Code: ", code);
    }

    CK_RV code;
    const char* step;      ///< "C_Login", say; of interest when the code is not CKR_OK
    const char* lastWords; ///< "Login failed", say; ". Code: " and the code follow
    SearchNumber number;
};

/// The step of an outcome whose search has found nothing: no function has failed.
inline constexpr const char* emptySearch = "search";
