// SPDX-License-Identifier: Apache-2.0
#include "softtoken/snapshot.h"

#include "softtoken/failure.h"
#include "softtoken/files.h"
#include "softtoken/object_file.h"

#include <dirent.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <numeric>
#include <set>
#include <string_view>
#include <system_error>

namespace softtoken {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view heading = "vornix softtoken undo 1\n";

fs::path undoFile(const fs::path& store)
{
    return store / "undo";
}

std::uint64_t checksum(Bytes::const_iterator first, Bytes::const_iterator last)
{
    // FNV-1a: it has to tell a file that lost its end with the power, nothing more.
    return std::accumulate(first, last, std::uint64_t{0xcbf29ce484222325},
                           [](std::uint64_t sum, unsigned char byte) { return (sum ^ byte) * 0x100000001b3; });
}

template <typename Range>
void append(Bytes& bytes, const Range& range)
{
    std::copy(range.begin(), range.end(), std::back_inserter(bytes));
}

void append(Bytes& bytes, std::uint64_t number)
{
    std::array<unsigned char, sizeof number> raw{};
    std::memcpy(raw.data(), &number, sizeof number);
    append(bytes, raw);
}

Bytes encode(const Snapshot& snapshot)
{
    Bytes bytes;
    append(bytes, heading);
    for (const auto& [name, contents] : snapshot) {
        append(bytes, std::uint64_t{name.size()});
        append(bytes, name);
        append(bytes, std::uint64_t{contents.has_value()});
        append(bytes, std::uint64_t{contents ? contents->size() : 0});
        append(bytes, contents.value_or(Bytes()));
    }
    append(bytes, checksum(bytes.begin(), bytes.end()));
    return bytes;
}

class Decoder {
public:
    Decoder(Bytes::const_iterator first, Bytes::const_iterator last) : next_(first), end_(last) {}

    bool atEnd() const { return next_ == end_; }

    std::uint64_t number()
    {
        std::uint64_t value = 0;
        const Bytes read = bytes(sizeof value);
        std::memcpy(&value, read.data(), sizeof value);
        return value;
    }

    Bytes bytes(std::uint64_t length)
    {
        require(length <= static_cast<std::uint64_t>(end_ - next_), CKR_DEVICE_ERROR);
        const auto start = next_;
        next_ += static_cast<std::ptrdiff_t>(length);
        return {start, next_};
    }

private:
    Bytes::const_iterator next_;
    const Bytes::const_iterator end_;
};

/// Nothing for a file that lost its end.
std::optional<Snapshot> decode(const Bytes& file)
{
    if (file.size() < heading.size() + sizeof(std::uint64_t) ||
        !std::equal(heading.begin(), heading.end(), file.begin()))
        return {};
    const auto end = file.end() - static_cast<std::ptrdiff_t>(sizeof(std::uint64_t));
    if (Decoder(end, file.end()).number() != checksum(file.begin(), end))
        return {};
    Snapshot snapshot;
    for (Decoder decoder(file.begin() + heading.size(), end); !decoder.atEnd();) {
        const Bytes name = decoder.bytes(decoder.number());
        const bool hasContents = decoder.number() != 0;
        Bytes contents = decoder.bytes(decoder.number());
        auto& entry = snapshot[std::string(name.begin(), name.end())];
        if (hasContents)
            entry = std::move(contents);
    }
    return snapshot;
}

struct CloseFolder {
    void operator()(DIR* folder) const { (void)closedir(folder); } // it was only read
};

bool endsWith(std::string_view text, std::string_view ending)
{
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

/// Files with one of these endings, by token and name. Every change lists all of them, and paths as std::filesystem
/// has them would cost many times the reading.
std::set<std::string> list(const fs::path& store, std::string_view ending)
{
    std::set<std::string> names;
    for (const fs::path& token : tokenFolders(store)) {
        const std::string prefix = token.filename().string() + "/";
        const std::unique_ptr<DIR, CloseFolder> folder(opendir(token.c_str()));
        require(folder != nullptr, CKR_DEVICE_ERROR);
        errno = 0; // what tells a failure from the end
        while (const dirent* file = readdir(folder.get()))
            if (endsWith(file->d_name, ending))
                names.insert(prefix + file->d_name);
        require(errno == 0, CKR_DEVICE_ERROR);
    }
    return names;
}

bool saysTheSame(const std::string& name, const Bytes& now, const Bytes& before)
{
    return now == before || (fs::path(name).filename() == "token.object" && areSameToken(now, before));
}

bool removeNew(const fs::path& store, const Snapshot& snapshot)
{
    bool changed = false;
    const fs::path tokens = store / "tokens";
    for (const std::string& name : list(store, ".object"))
        if (snapshot.count(name) == 0) {
            removeFile(tokens / name);
            changed = true;
        }
    // Without their objects, locks mean nothing.
    for (const std::string& name : list(store, ".lock"))
        if (!fs::exists((tokens / name).replace_extension(".object")))
            removeFile(tokens / name);
    for (const fs::path& token : tokenFolders(store)) {
        const std::string name = token.filename().string() + "/";
        const auto first = snapshot.lower_bound(name);
        if (first == snapshot.end() || first->first.compare(0, name.size(), name) != 0) {
            for (const char* file : {"generation", "token.kept", "token.kept.new"})
                removeFile(token / file);
            std::error_code ignored; // a folder without a token does no harm
            changed |= fs::remove(token, ignored);
        }
    }
    return changed;
}

bool restoreOld(const fs::path& store, const Snapshot& snapshot)
{
    bool changed = false;
    for (const auto& [name, contents] : snapshot) {
        const fs::path file = store / "tokens" / name;
        if (!contents)
            continue;
        const auto now = readFile(file);
        if (now && saysTheSame(name, *now, *contents))
            continue;
        replaceFile(file, renumbered(*contents));
        // SoftHSM2 destroys no object whose lock it cannot remove.
        if (const fs::path lock = fs::path(file).replace_extension(".lock"); !fs::exists(fs::symlink_status(lock)))
            replaceFile(lock, {});
        changed = true;
    }
    return changed;
}

/// SoftHSM2 looks at a folder again when the number in this file has changed.
void renumber(const fs::path& token)
{
    const fs::path file = token / "generation";
    if (const auto number = readFile(file); number && !number->empty())
        overwriteFile(file, renumbered(*number));
}

} // namespace

std::vector<fs::path> tokenFolders(const fs::path& store)
{
    std::vector<fs::path> folders;
    std::error_code error;
    for (fs::directory_iterator token(store / "tokens", error), end; !error && token != end; token.increment(error))
        if (token->is_directory(error) && !token->is_symlink(error))
            folders.push_back(token->path());
    require(!error, CKR_DEVICE_ERROR);
    return folders;
}

Snapshot takeSnapshot(const fs::path& store, Depth depth)
{
    Snapshot snapshot;
    for (const std::string& name : list(store, ".object"))
        snapshot[name] = depth == Depth::contents ? readFile(store / "tokens" / name) : std::nullopt;
    return snapshot;
}

void keepSnapshot(const fs::path& store, const Snapshot& snapshot)
{
    const bool restores =
        std::any_of(snapshot.begin(), snapshot.end(), [](const auto& entry) { return entry.second.has_value(); });
    replaceFile(undoFile(store), encode(snapshot), restores ? Disk::now : Disk::later);
}

void dropSnapshot(const fs::path& store)
{
    removeFile(undoFile(store));
    require(!fs::exists(fs::symlink_status(undoFile(store))), CKR_DEVICE_ERROR);
    syncToDisk(store);
}

bool rollBack(const fs::path& store)
{
    const auto undo = readFile(undoFile(store));
    if (!undo) {
        require(!fs::exists(fs::symlink_status(undoFile(store))), CKR_DEVICE_ERROR);
        return false;
    }
    bool changed = false;
    if (const auto snapshot = decode(*undo)) {
        changed = removeNew(store, *snapshot);
        changed |= restoreOld(store, *snapshot);
        for (const fs::path& token : tokenFolders(store)) {
            renumber(token);
            syncToDisk(token);
        }
        syncToDisk(store / "tokens");
    }
    dropSnapshot(store);
    return changed;
}

} // namespace softtoken
