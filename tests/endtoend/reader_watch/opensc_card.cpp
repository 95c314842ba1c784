// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/reader_watch/opensc_card.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using Bytes = std::vector<unsigned char>;

// ISO 7816-4
enum Instruction : unsigned char { verify = 0x20, selectFile = 0xA4 };
constexpr unsigned char byApplicationName = 0x04; // how a file is selected
enum Status : unsigned { done = 0x9000, threeTriesLeft = 0x63C3, notFound = 0x6A82 };

constexpr std::array<unsigned char, 10> application = {0xD3, 0x92, 0xF0, 0x00, 0x26, 0x01, 0x00, 0x00, 0x00, 0x01};

Bytes bytesOf(Status status)
{
    return {static_cast<unsigned char>(status >> 8), static_cast<unsigned char>(status & 0xFF)};
}

bool isApplication(const Bytes& bytes)
{
    return std::equal(bytes.begin(), bytes.end(), application.begin(), application.end());
}

/// What stands behind a command's header and its length.
Bytes dataOf(const Bytes& command)
{
    return {command.begin() + std::min<std::ptrdiff_t>(5, static_cast<std::ptrdiff_t>(command.size())), command.end()};
}

bool isPin(const Bytes& bytes)
{
    const std::string_view pin = OpenscCard::pin;
    return std::equal(bytes.begin(), bytes.end(), pin.begin(), pin.end());
}

} // namespace

std::vector<unsigned char> OpenscCard::answer(const std::vector<unsigned char>& command)
{
    const Bytes data = dataOf(command);
    switch (command.at(1)) {
    case selectFile: return bytesOf(command.at(2) == byApplicationName && !isApplication(data) ? notFound : done);
    case verify:
        pins_ += data.empty() ? 0 : 1; // without data it asks for the tries
        return bytesOf(isPin(data) ? done : threeTriesLeft);
    default: return bytesOf(notFound); // the files with the certificates are not there
    }
}
