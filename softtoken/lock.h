// SPDX-License-Identifier: Apache-2.0
// One process at a time in the store.
//
// The lock is a flock on a file of the store, which ends with the process that holds it, however it ends. That file
// also holds what processes must tell each other. A second lock is a place in the queue: whoever has it gets the store
// next, so that a process which calls again and again lets the others in.
#pragma once

#include "softtoken/files.h"

#include <chrono>
#include <cstdint>

namespace softtoken {

/// What the processes on a store tell each other. All zero in a new store.
struct Record {
    std::uint64_t turns = 0;   ///< how often the lock was taken
    std::uint64_t token = 0;   ///< altered whenever the token is initialised
    std::uint64_t pins = 0;    ///< altered whenever a PIN is
    std::uint64_t writing = 0; ///< not 0 while the holder writes: found so, its holder has died
    std::uint64_t tries = 0;   ///< wrong user PINs since the last right one
    std::uint64_t locked = 0;  ///< not 0 when the user's PIN is locked
};

class StoreLock {
public:
    /// For the store in this folder, which is there. Fails with CKR_DEVICE_ERROR.
    void open(const std::filesystem::path& folder, std::chrono::seconds wait);
    void close();
    bool isOpen() const { return static_cast<bool>(file_); }

    /// Waits for the lock as long as it changes hands in time; otherwise fails with CKR_DEVICE_ERROR. Reads the record.
    /// Returns false when the folder has become another store since the last time.
    [[nodiscard]] bool acquire();
    void release();

    Record record;

    /// Writes the record over the old one, which takes no room on the disk. Fails with CKR_DEVICE_MEMORY.
    void save() const;
    /// Likewise, and the disk has it.
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
