// SPDX-License-Identifier: Apache-2.0
// A card in the virtual reader.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Longer than anything that is waited for takes on a machine under load.
constexpr std::chrono::seconds patience{20};

/// Is in the reader from construction until destruction. It knows no commands and keeps a record of its power supply.
class VirtualCard {
public:
    /// Throws when there is no reader to be put into.
    VirtualCard();
    ~VirtualCard();
    VirtualCard(const VirtualCard&) = delete;
    VirtualCard& operator=(const VirtualCard&) = delete;

    /// Waits until the service, having looked at the new card or having seen its last user leave, has powered it off.
    /// The record is empty then. Throws when that does not happen.
    void waitUntilIdle();

    /// Takes the record, "power on", "power off" and "reset", once it has `count` entries or patience has ended.
    std::vector<std::string> takeRecord(std::size_t count = 0);

private:
    void obey();
    bool receive(unsigned char* bytes, std::size_t count) const;
    void note(const char* event);

    int connection_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> record_;
    std::thread thread_;
};
