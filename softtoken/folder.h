// SPDX-License-Identifier: Apache-2.0
// The folder that holds the store: trusted only where nobody else can have put anything into it.
#pragma once

#include <filesystem>

namespace softtoken {

/// Makes the folder and what SoftHSM2 needs in it. Whoever runs this process must own it, and nobody else, the group
/// included, may write there; otherwise says so on standard error and fails with CKR_GENERAL_ERROR, as where the folder
/// cannot be made.
void prepareFolder(const std::filesystem::path& folder);

/// SoftHSM2's configuration in the folder.
std::filesystem::path configurationFile(const std::filesystem::path& folder);

/// Writes it, unless it is there. Under the lock: another process may be reading it. Fails with CKR_GENERAL_ERROR.
void writeConfiguration(const std::filesystem::path& folder);

} // namespace softtoken
