// SPDX-License-Identifier: Apache-2.0
// Files of the store, read and written so that neither a death nor a foreigner's link does harm.
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

/// The bytes of a regular file; nothing for one that is not there, is a link or something else, is too long, or cannot
/// be read.
std::optional<Bytes> readFile(const std::filesystem::path& file, std::size_t longest = anyLength);

/// Whether the disk has what was written once the call is over, or some time later.
enum class Disk { now, later };

/// Replaces the file in one step: whoever dies here leaves the old one or the new one. Fails with CKR_DEVICE_MEMORY and
/// leaves the old one.
void replaceFile(const std::filesystem::path& file, const Bytes& contents, Disk disk = Disk::now);

/// Writes over a file that may not grow: takes no room on the disk, but is not done in one step.
void overwriteFile(const std::filesystem::path& file, const Bytes& contents);

/// Has the disk hold what was written to a file, or which names are in a folder. Fails with CKR_DEVICE_MEMORY.
void syncToDisk(const std::filesystem::path& fileOrFolder);

/// Takes a file away, if it is there.
void removeFile(const std::filesystem::path& file);

} // namespace softtoken
