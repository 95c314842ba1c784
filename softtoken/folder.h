// SPDX-License-Identifier: Apache-2.0
// The folder that holds the store. It is trusted only if nobody else can write to it.
#pragma once

#include <filesystem>

namespace softtoken {

/// Makes the folder and its folder "tokens", unless they exist. The user who runs this process must own both, and
/// nobody else, the group included, may write there. Otherwise writes a line to standard error and fails with
/// CKR_GENERAL_ERROR. The code is the same when a folder cannot be made.
void prepareFolder(const std::filesystem::path& folder);

/// SoftHSM2's configuration in the folder.
[[nodiscard]] std::filesystem::path configurationFile(const std::filesystem::path& folder);

/// Writes that file, unless it has the right contents. The caller holds the store's lock: another process may be
/// reading the file. Fails with CKR_GENERAL_ERROR.
void writeConfiguration(const std::filesystem::path& folder);

} // namespace softtoken
