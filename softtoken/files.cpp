// SPDX-License-Identifier: Apache-2.0
#include "softtoken/files.h"

#include "softtoken/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace softtoken {
namespace {

namespace fs = std::filesystem;

void write(int file, const Bytes& contents)
{
    for (std::size_t done = 0; done < contents.size();) {
        const ssize_t written = ::write(file, contents.data() + done, contents.size() - done);
        require(written > 0 || errno == EINTR, CKR_DEVICE_MEMORY);
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

} // namespace

int Descriptor::release()
{
    return std::exchange(number_, -1);
}

void Descriptor::reset(int number)
{
    if (number_ >= 0)
        (void)close(number_); // what counts is synchronised before
    number_ = number;
}

std::optional<Bytes> readFile(const fs::path& file, std::size_t longest)
{
    // O_NONBLOCK: opening a pipe would wait for its writer.
    const Descriptor open(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!open || fstat(open.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::size_t>(status.st_size) > longest)
        return {};
    Bytes contents(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < contents.size()) {
        const ssize_t got = read(open.get(), contents.data() + done, contents.size() - done);
        if (got == 0 || (got < 0 && errno != EINTR))
            return {};
        done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    return contents;
}

void replaceFile(const fs::path& file, const Bytes& contents, Disk disk)
{
    const fs::path fresh = file.string() + ".new";
    removeFile(fresh); // of a process that died here
    const Descriptor open(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    require(static_cast<bool>(open), CKR_DEVICE_MEMORY);
    try {
        write(open.get(), contents);
        require(disk == Disk::later || fsync(open.get()) == 0, CKR_DEVICE_MEMORY);
        require(std::rename(fresh.c_str(), file.c_str()) == 0, CKR_DEVICE_MEMORY);
    } catch (...) {
        removeFile(fresh);
        throw;
    }
    if (disk == Disk::now)
        syncToDisk(file.parent_path());
}

void overwriteFile(const fs::path& file, const Bytes& contents)
{
    const Descriptor open(::open(file.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    require(static_cast<bool>(open), CKR_DEVICE_MEMORY);
    write(open.get(), contents);
    require(ftruncate(open.get(), static_cast<off_t>(contents.size())) == 0 && fsync(open.get()) == 0,
            CKR_DEVICE_MEMORY);
}

void syncToDisk(const fs::path& fileOrFolder)
{
    const Descriptor open(::open(fileOrFolder.c_str(), O_RDONLY | O_CLOEXEC));
    require(open && fsync(open.get()) == 0, CKR_DEVICE_MEMORY);
}

void removeFile(const fs::path& file)
{
    (void)unlink(file.c_str()); // a file that cannot be removed is found by whoever needs it gone
}

} // namespace softtoken
