// SPDX-License-Identifier: Apache-2.0
// What the environment says about the store.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace softtoken {

struct Settings {
    /// VORNIX_SOFTTOKEN_DIR, or `vornix-softtoken` in the user's data directory.
    std::filesystem::path folder;
    /// VORNIX_SOFTTOKEN_WAIT: how long another process may hold the store while this one waits for it.
    std::chrono::seconds wait{60};
    /// VORNIX_SOFTTOKEN_PIN_TRIES: how many wrong user PINs lock the PIN. 0: any number is forgiven.
    unsigned pinTries = 0;
};

/// Fails with CKR_ARGUMENTS_BAD, and says why on standard error, where a number is none or out of bounds; with
/// CKR_GENERAL_ERROR where there is no folder.
Settings readSettings();

/// A line on standard error for the person who set the token up: codes alone do not tell what is wrong.
void complain(const std::string& text);

} // namespace softtoken
