// SPDX-License-Identifier: Apache-2.0
// The lock that lets one process at a time into the store.
//
// It is a flock on a file of the store. The system releases it when its holder ends, even if the holder is killed. The
// same file holds the record that processes share. The second lock is a queue: its holder gets the store next. So a
// process that calls in a loop cannot keep the others out.
#pragma once

#include "softtoken/files.h"

#include <chrono>
#include <cstdint>

namespace softtoken {

/// What the processes on a store share. All zero in a new store.
struct Record {
    std::uint64_t turns = 0;   ///< how often the lock was taken
    std::uint64_t token = 0;   ///< changes whenever the token is initialised
    std::uint64_t pins = 0;    ///< changes whenever a PIN changes
    std::uint64_t writing = 0; ///< not 0 while the holder writes; still not 0 for the next holder: it died
    std::uint64_t tries = 0;   ///< wrong user PINs since the last right one
    std::uint64_t locked = 0;  ///< not 0 when the user's PIN is locked
};

class StoreLock {
public:
    /// Opens the lock of the store in this folder, which must exist. Fails with CKR_DEVICE_ERROR.
    void open(const std::filesystem::path& folder, std::chrono::seconds wait);
    void close();
    bool isOpen() const { return static_cast<bool>(file_); }

    /// Waits for the lock, then reads the record. Fails with CKR_DEVICE_ERROR once one holder keeps the lock for longer
    /// than `wait`. Returns false when the folder was removed and made anew since the last time.
    [[nodiscard]] bool acquire();
    void release();

    Record record;

    /// Overwrites the record in place, which needs no room on the disk. Fails with CKR_DEVICE_MEMORY.
    void save() const;
    /// Likewise, and waits until the disk has it.
    void saveDurably() const;

private:
    void readRecord();
    [[nodiscard]] bool write() const;
    [[nodiscard]] bool isStillThere() const;

    std::filesystem::path folder_;
    std::chrono::seconds wait_{};
    Descriptor file_;
    Descriptor queue_;
};

} // namespace softtoken
