// SPDX-License-Identifier: Apache-2.0
// The state of the store before a change, so that the change can be taken back.
//
// The snapshot lies in the file "undo" while the change is in progress. Removing that file completes the change. A
// process that finds the file takes the change back, because the process that made it has died.
#pragma once

#include "softtoken/owned.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace softtoken {

/// The object files in all tokens' folders, by token and name. They have their bytes if the depth asked for contents.
using Snapshot = std::map<std::string, std::optional<Bytes>>;

enum class Depth {
    names,   ///< enough to remove what is new
    contents ///< enough to restore what was changed or removed
};

[[nodiscard]] Snapshot takeSnapshot(const std::filesystem::path& store, Depth depth);

/// Writes the file. A power failure may destroy a snapshot of names: what is new then stays.
void keepSnapshot(const std::filesystem::path& store, const Snapshot& snapshot);

/// Removes the file: the change is complete.
void dropSnapshot(const std::filesystem::path& store);

/// Takes an unfinished change back, if there is one. If it is interrupted, it can be repeated. Returns whether anything
/// had changed. Fails with CKR_DEVICE_MEMORY when the disk has no room for what must be restored.
[[nodiscard]] bool rollBack(const std::filesystem::path& store);

/// The folders of the tokens in a store. Fails with CKR_DEVICE_ERROR if they cannot be listed.
[[nodiscard]] std::vector<std::filesystem::path> tokenFolders(const std::filesystem::path& store);

} // namespace softtoken
