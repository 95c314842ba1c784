// SPDX-License-Identifier: Apache-2.0
#include "softtoken/folder.h"

#include "softtoken/failure.h"
#include "softtoken/files.h"
#include "softtoken/settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace softtoken {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t longestConfiguration = 65536;

void trust(bool condition, const std::string& complaint)
{
    if (condition)
        return;
    complain(complaint);
    throw Failure{CKR_GENERAL_ERROR};
}

/// A link leads where its owner wants: it must be this user's own.
void makePrivateFolder(const fs::path& path)
{
    require(mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST, CKR_GENERAL_ERROR);
    struct stat link = {};
    struct stat folder = {};
    require(lstat(path.c_str(), &link) == 0 && stat(path.c_str(), &folder) == 0, CKR_GENERAL_ERROR);
    require(S_ISDIR(folder.st_mode), CKR_GENERAL_ERROR);
    trust(link.st_uid == geteuid() && folder.st_uid == geteuid(), "the token's directory belongs to another user");
    trust(!(folder.st_mode & (S_IWGRP | S_IWOTH)), "others may write to the token's directory; use chmod go-w");
}

} // namespace

void prepareFolder(const fs::path& folder)
{
    fs::create_directories(folder.parent_path());
    makePrivateFolder(folder);
    makePrivateFolder(folder / "tokens");
}

fs::path configurationFile(const fs::path& folder)
{
    return folder / "softhsm2.conf";
}

void writeConfiguration(const fs::path& folder)
{
    const std::string text = "directories.tokendir = " + (folder / "tokens").string() +
                             "\nobjectstore.backend = file\nlog.level = ERROR\nslots.removable = false\n";
    const Bytes wanted(text.begin(), text.end());
    if (readFile(configurationFile(folder), longestConfiguration) == wanted)
        return;
    try {
        replaceFile(configurationFile(folder), wanted);
    } catch (const Failure&) {
        throw Failure{CKR_GENERAL_ERROR};
    }
}

} // namespace softtoken
