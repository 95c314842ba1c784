// SPDX-License-Identifier: Apache-2.0
// The store's files. No link is read or written through, and replacing a file is done whole or not at all, even if the
// process dies.
#pragma once

#include "softtoken/owned.h"

#include <filesystem>
#include <optional>

namespace softtoken {

/// An open file, closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        reset(other.release());
        return *this;
    }

    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }
    int release();
    void reset(int number = -1);

private:
    int number_;
};

constexpr std::size_t anyLength = std::size_t{1} << 40U;

/// The bytes of a regular file. Nothing if the file is missing, unreadable, longer than `longest` or not regular, such
/// as a link.
[[nodiscard]] std::optional<Bytes> readFile(const std::filesystem::path& file, std::size_t longest = anyLength);

/// When the disk has what was written: as soon as the call returns, or some time later.
enum class Disk { now, later };

/// Replaces the file in one step: a process that dies meanwhile leaves the old file or the new one. A failure
/// (CKR_DEVICE_MEMORY) leaves the old one, or the new one where only its way to the disk failed.
void replaceFile(const std::filesystem::path& file, const Bytes& contents, Disk disk = Disk::now);

/// Writes over a file in place. Needs no more room on the disk unless the file grows, but is not done in one step.
void overwriteFile(const std::filesystem::path& file, const Bytes& contents);

/// Writes a file's contents, or a folder's list of names, through to the disk. Fails with CKR_DEVICE_MEMORY.
void syncToDisk(const std::filesystem::path& fileOrFolder);

/// Removes a file if it exists.
void removeFile(const std::filesystem::path& file);

} // namespace softtoken
