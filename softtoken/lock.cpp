// SPDX-License-Identifier: Apache-2.0
#include "softtoken/lock.h"

#include "softtoken/failure.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace softtoken {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* lockName = "lock";
constexpr const char* queueName = "queue";

Descriptor openLock(const fs::path& file)
{
    Descriptor open(::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    struct stat status = {};
    require(open && fstat(open.get(), &status) == 0 && S_ISREG(status.st_mode), CKR_DEVICE_ERROR);
    return open;
}

bool take(const Descriptor& file)
{
    if (flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        return true;
    require(errno == EWOULDBLOCK || errno == EINTR, CKR_DEVICE_ERROR);
    return false;
}

/// Tries ever more slowly, as long as the lock changes hands.
template <typename Turns>
void waitFor(const Descriptor& file, std::chrono::microseconds longestPause, std::chrono::seconds limit, Turns turns)
{
    if (take(file))
        return;
    std::chrono::microseconds pause(20);
    auto start = Clock::now();
    auto seen = turns();
    do {
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, longestPause);
        if (const auto now = turns(); now != seen) {
            seen = now;
            start = Clock::now();
        }
        require(Clock::now() - start <= limit, CKR_DEVICE_ERROR);
    } while (!take(file));
}

} // namespace

void StoreLock::open(const fs::path& folder, std::chrono::seconds wait)
{
    Descriptor queue = openLock(folder / queueName);
    Descriptor file = openLock(folder / lockName);
    queue_ = std::move(queue);
    file_ = std::move(file);
    folder_ = folder;
    wait_ = wait;
}

void StoreLock::close()
{
    file_.reset();
    queue_.reset();
}

bool StoreLock::acquire()
{
    using namespace std::chrono_literals;
    bool same = true;
    for (;;) {
        const auto turns = [this] {
            readRecord();
            return record.turns;
        };
        waitFor(queue_, 5ms, wait_, turns);
        try {
            waitFor(file_, 1ms, wait_, turns);
        } catch (...) {
            (void)flock(queue_.get(), LOCK_UN); // of a file that is open and locked
            throw;
        }
        (void)flock(queue_.get(), LOCK_UN); // likewise
        if (isStillThere())
            break;
        same = false;
        release();
        open(fs::path(folder_), wait_);
    }
    readRecord();
    ++record.turns;
    (void)write(); // only those who wait look at it
    return same;
}

void StoreLock::release()
{
    if (file_)
        (void)flock(file_.get(), LOCK_UN); // of a file that is open and locked
}

/// A folder that was deleted and made anew has other files under the same names.
bool StoreLock::isStillThere() const
{
    struct stat held = {};
    struct stat named = {};
    return fstat(file_.get(), &held) == 0 && stat((folder_ / lockName).c_str(), &named) == 0 &&
           held.st_ino == named.st_ino && held.st_dev == named.st_dev;
}

void StoreLock::readRecord()
{
    Record read;
    const bool whole = pread(file_.get(), &read, sizeof read, 0) == static_cast<ssize_t>(sizeof read);
    record = whole ? read : Record();
}

bool StoreLock::write() const
{
    return pwrite(file_.get(), &record, sizeof record, 0) == static_cast<ssize_t>(sizeof record);
}

void StoreLock::save() const
{
    require(write(), CKR_DEVICE_MEMORY);
}

void StoreLock::saveDurably() const
{
    save();
    require(fdatasync(file_.get()) == 0, CKR_DEVICE_MEMORY);
}

} // namespace softtoken
