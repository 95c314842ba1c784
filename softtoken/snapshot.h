// SPDX-License-Identifier: Apache-2.0
// What stood in the store before a change, so that the change can be taken back.
//
// A snapshot lies in the file "undo" from before the change until it is done; taking that file away is what makes the
// change stand. Whoever finds it takes the change back: its process has died.
#pragma once

#include "softtoken/owned.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace softtoken {

/// The object files in all tokens' folders, by token and name, with their bytes where those were asked for.
using Snapshot = std::map<std::string, std::optional<Bytes>>;

enum class Depth {
    names,   ///< enough to take away what is new
    contents ///< enough to restore what is altered or gone
};

Snapshot takeSnapshot(const std::filesystem::path& store, Depth depth);

/// A snapshot of names may be lost with the power; then what was new stays.
void keepSnapshot(const std::filesystem::path& store, const Snapshot& snapshot);

/// The change stands.
void dropSnapshot(const std::filesystem::path& store);

/// Takes an unfinished change back, if there is one. May be interrupted and repeated. Returns whether anything had
/// changed. Fails with CKR_DEVICE_MEMORY where there is no room for what must be restored.
bool rollBack(const std::filesystem::path& store);

/// The folders of the tokens in a store.
std::vector<std::filesystem::path> tokenFolders(const std::filesystem::path& store);

} // namespace softtoken
