// SPDX-License-Identifier: Apache-2.0
// Keeps the token readable when its process dies in the middle of a write.
//
// SoftHSM2 rewrites the file with a token's PINs in place, at every login as well as when a PIN changes. A process
// killed there leaves the file cut short, and SoftHSM2 then refuses the token for good (0xE1). So a copy of the file
// stands beside it, made anew whenever a PIN changes.
#pragma once

#include <filesystem>

namespace softtoken {

/// After a process died, and before SoftHSM2 reads the store: takes an unfinished change back, puts the copies in the
/// place of files that were cut short, and makes those copies anew that say something else than their file: a replaced
/// PIN must not come back with one. Returns whether a change was taken back. Fails with CKR_DEVICE_MEMORY where there
/// is no room for all that.
bool recover(const std::filesystem::path& store);

/// After a login: puts the copies in the place of files that could not be written.
void restoreTokenFiles(const std::filesystem::path& store);

/// After a PIN has changed: copies the tokens' files. Fails with CKR_DEVICE_MEMORY when the change is not on the disk.
void keepTokenFiles(const std::filesystem::path& store);

/// After a PIN could not be changed: makes the files say what their copies say. Returns whether they did not.
bool revertTokenFiles(const std::filesystem::path& store);

} // namespace softtoken
