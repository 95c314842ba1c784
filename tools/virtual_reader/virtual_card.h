// SPDX-License-Identifier: Apache-2.0
// A card in the virtual reader.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Time limit of every wait, long enough for a machine under load.
constexpr std::chrono::seconds patience{20};

/// What a card answers a command, with the status word behind it (ISO 7816-4).
using CardAnswer = std::function<std::vector<unsigned char>(const std::vector<unsigned char>& command)>;

/// The answer of a card that knows no commands.
[[nodiscard]] std::vector<unsigned char> knowsNoCommand(const std::vector<unsigned char>& command);

/// The card is in the reader from construction to destruction. It records how its power is switched.
class VirtualCard {
public:
    /// A mute card, as one that lies upside down, gives no answer when it is powered.
    enum class Manner { answering, mute };

    /// Throws when there is no reader. `answer` is called by another thread.
    explicit VirtualCard(Manner manner = Manner::answering, CardAnswer answer = knowsNoCommand);
    ~VirtualCard();
    VirtualCard(const VirtualCard&) = delete;
    VirtualCard& operator=(const VirtualCard&) = delete;

    /// Waits until the service has powered the card off, which it does after it has looked at a new card and after the
    /// last user has left. The record is empty then. Throws when that does not happen.
    void waitUntilIdle();

    /// Takes the record ("power on", "power off", "reset") as soon as it has `count` entries, or when the time is up.
    std::vector<std::string> takeRecord(std::size_t count = 0);

private:
    void obey();
    bool receive(unsigned char* bytes, std::size_t count) const;
    void note(const char* event);

    const Manner manner_;
    const CardAnswer answer_;
    int connection_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> record_;
    std::thread thread_;
};
