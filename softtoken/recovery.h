// SPDX-License-Identifier: Apache-2.0
// Keeps the token readable when a process dies in the middle of a write.
//
// SoftHSM2 rewrites the file with a token's PINs in place, at every login as well as when a PIN changes. A process
// killed meanwhile leaves a truncated file, and SoftHSM2 then refuses the token for good (0xE1). So a copy lies beside
// the file. It is renewed whenever a PIN changes.
#pragma once

#include <filesystem>

namespace softtoken {

/// To be called after a process died, before SoftHSM2 reads the store. Takes an unfinished change back and restores
/// truncated files from their copies. Renews copies that differ from their files, so that no replaced PIN can come
/// back. Returns whether a change was taken back. Fails with CKR_DEVICE_MEMORY when the disk lacks the room.
[[nodiscard]] bool recover(const std::filesystem::path& store);

/// To be called after a login. Restores files that could not be written from their copies.
void restoreTokenFiles(const std::filesystem::path& store);

/// To be called after a PIN has changed. Renews the copies. Fails with CKR_DEVICE_MEMORY when the change is not on the
/// disk.
void keepTokenFiles(const std::filesystem::path& store);

/// To be called when a PIN could not be changed. Restores files that differ from their copies. Returns whether any did.
[[nodiscard]] bool revertTokenFiles(const std::filesystem::path& store);

} // namespace softtoken
