// SPDX-License-Identifier: Apache-2.0
// Settings of the store, from the environment.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace softtoken {

struct Settings {
    /// VORNIX_SOFTTOKEN_DIR, or `vornix-softtoken` in the user's data directory.
    std::filesystem::path folder;
    /// VORNIX_SOFTTOKEN_WAIT: how long one call of another process may hold the store while this process waits.
    std::chrono::seconds wait{60};
    /// VORNIX_SOFTTOKEN_PIN_TRIES: how many wrong user PINs in a row lock the PIN. 0: it never locks.
    unsigned pinTries = 0;
};

/// Fails with CKR_ARGUMENTS_BAD and a line on standard error if a value is no number or out of range. Fails with
/// CKR_GENERAL_ERROR if no variable names a folder.
Settings readSettings();

/// Writes a line to standard error for the person who set the token up: a code alone does not tell what is wrong.
void complain(const std::string& text);

} // namespace softtoken
