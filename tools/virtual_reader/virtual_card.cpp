// SPDX-License-Identifier: Apache-2.0
#include "tools/virtual_reader/virtual_card.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

constexpr const char* off = "power off";

// A message of one byte is for the card's supply, any longer one a command for the card.
enum Control : unsigned char { powerOff = 0, powerOn = 1, reset = 2, getAtr = 4 };

// Messages both ways begin with their length in two bytes, the high one first.
using Header = std::array<unsigned char, 2>;

constexpr std::array<unsigned char, 2> atr = {0x3B, 0x00}; // T=0, no historical bytes
// Longer than any card's, so the reader does not take it. Without any answer the card would count as taken out.
constexpr std::array<unsigned char, 64> noAtr = {0x3B};

int connectToReader()
{
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in reader{};
    reader.sin_family = AF_INET;
    reader.sin_port = htons(VIRTUAL_READER_PORT);
    reader.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connection < 0 || connect(connection, reinterpret_cast<const sockaddr*>(&reader), sizeof reader) != 0) {
        const int reason = errno;
        (void)close(connection);
        throw std::system_error(reason, std::generic_category(), "virtual reader");
    }
    return connection;
}

} // namespace

std::vector<unsigned char> knowsNoCommand(const std::vector<unsigned char>&)
{
    return {0x6D, 0x00};
}

VirtualCard::VirtualCard(Manner manner, CardAnswer answer)
    : manner_(manner), answer_(std::move(answer)), connection_(connectToReader()), thread_([this] { obey(); })
{
}

VirtualCard::~VirtualCard()
{
    (void)shutdown(connection_, SHUT_RDWR); // fails where the service has hung up, which ends the thread as well
    thread_.join();
    (void)close(connection_);
}

void VirtualCard::waitUntilIdle()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, patience, [this] { return !record_.empty() && record_.back() == off; }))
        throw std::runtime_error("the card was not powered off");
    record_.clear();
}

std::vector<std::string> VirtualCard::takeRecord(std::size_t count)
{
    std::unique_lock<std::mutex> lock(mutex_);
    (void)changed_.wait_for(lock, patience,
                            [&] { return record_.size() >= count; }); // the caller looks at what there is
    return std::exchange(record_, {});
}

void VirtualCard::note(const char* event)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.emplace_back(event);
    changed_.notify_all();
}

bool VirtualCard::receive(unsigned char* bytes, std::size_t count) const
{
    while (count > 0) {
        // The reader sends a header and then the rest, which waits for the header to be acknowledged.
        const int now = 1;
        (void)setsockopt(connection_, IPPROTO_TCP, TCP_QUICKACK, &now, sizeof now); // else slower, not wrong
        const ssize_t received = recv(connection_, bytes, count, 0);
        if (received <= 0)
            return false;
        bytes += received;
        count -= static_cast<std::size_t>(received);
    }
    return true;
}

void VirtualCard::obey()
{
    const auto send = [this](std::vector<unsigned char> message) {
        const auto length = message.size();
        message.insert(message.begin(), {static_cast<unsigned char>(length >> 8), static_cast<unsigned char>(length)});
        return ::send(connection_, message.data(), message.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(message.size());
    };
    // The reader asks for the ATR when it has powered the card, but also to see whether the card is there.
    bool powered = false;
    Header header{};
    bool connected = true;
    while (connected && receive(header.data(), header.size())) {
        std::vector<unsigned char> message(static_cast<std::size_t>(header[0] << 8 | header[1]));
        if (!receive(message.data(), message.size()))
            return;
        if (message.size() != 1) {
            connected = send(answer_(message));
            continue;
        }
        switch (message[0]) {
        case powerOff: note(off); break;
        case powerOn:
            note("power on");
            powered = true;
            break;
        case reset: note("reset"); break;
        case getAtr:
            connected = powered && manner_ == Manner::mute ? send({noAtr.begin(), noAtr.end()})
                                                           : send({atr.begin(), atr.end()});
            powered = false;
            break;
        default: break;
        }
    }
}
