// Keeps the token readable when its process dies in the middle of a write.
//
// SoftHSM2 rewrites the file with a token's PINs in place, at every login as well as when a PIN changes. A process
// killed there leaves the file cut short, and SoftHSM2 then refuses the token for good (0xE1). So a copy of the file
// stands beside it, as of the last change of a PIN.
#pragma once

#include <filesystem>

namespace softtoken {

/// Before SoftHSM2 reads the tokens in this folder: puts the copy in the place of a file that was cut short.
void restoreTokenFiles(const std::filesystem::path& tokens);

/// After a PIN has changed: copies the tokens' files. A copy that cannot be made does not undo the change.
void keepTokenFiles();

} // namespace softtoken
