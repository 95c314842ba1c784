// SPDX-License-Identifier: Apache-2.0
#include "softtoken/recovery.h"

#include "softtoken/failure.h"
#include "softtoken/files.h"
#include "softtoken/object_file.h"
#include "softtoken/snapshot.h"

namespace softtoken {
namespace {

namespace fs = std::filesystem;

/// A token's file and its copy.
struct TokenFile {
    explicit TokenFile(const fs::path& token)
        : file(token / "token.object"), copy(token / "token.kept"), now(readFile(file)), kept(readFile(copy))
    {
    }

    bool isWhole() const { return now && isWholeToken(*now); }
    bool isKept() const { return isWhole() && kept && areSameToken(*now, *kept); }

    void keep() const
    {
        syncToDisk(file);
        replaceFile(copy, *now);
    }

    void restore() const
    {
        if (!kept || !isWholeToken(*kept))
            return;
        try {
            replaceFile(file, renumbered(*kept));
        } catch (const Failure&) {
            overwriteFile(file, renumbered(*kept)); // the disk is full, but the file may still have its room
        }
    }

    const fs::path file;
    const fs::path copy;
    const std::optional<Bytes> now;
    const std::optional<Bytes> kept;
};

template <typename Job>
void forEachToken(const fs::path& store, Job job)
{
    for (const fs::path& folder : tokenFolders(store))
        job(TokenFile(folder));
}

} // namespace

bool recover(const fs::path& store)
{
    const bool takenBack = rollBack(store);
    forEachToken(store, [](const TokenFile& token) {
        if (!token.isWhole())
            token.restore();
        else if (!token.isKept())
            token.keep();
    });
    return takenBack;
}

void restoreTokenFiles(const fs::path& store)
{
    forEachToken(store, [](const TokenFile& token) {
        if (!token.isWhole())
            token.restore();
    });
}

void keepTokenFiles(const fs::path& store)
{
    forEachToken(store, [](const TokenFile& token) {
        require(token.isWhole(), CKR_DEVICE_MEMORY);
        if (!token.isKept())
            token.keep();
    });
}

bool revertTokenFiles(const fs::path& store)
{
    bool reverted = false;
    forEachToken(store, [&](const TokenFile& token) {
        if (token.isKept())
            return;
        token.restore();
        reverted = true;
    });
    return reverted;
}

} // namespace softtoken
