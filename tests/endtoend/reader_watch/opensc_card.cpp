// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/reader_watch/opensc_card.h"

#include <algorithm>
#include <string_view>

namespace {

using Bytes = std::vector<unsigned char>;

// ISO 7816-4
enum Instruction : unsigned char { verify = 0x20, selectFile = 0xA4 };
constexpr unsigned char byApplicationName = 0x04; // how a file is selected
const Bytes done = {0x90, 0x00};
const Bytes threeTriesLeft = {0x63, 0xC3};
const Bytes notFound = {0x6A, 0x82};

const Bytes application = {0xD3, 0x92, 0xF0, 0x00, 0x26, 0x01, 0x00, 0x00, 0x00, 0x01};

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
    case selectFile: return command.at(2) == byApplicationName && data != application ? notFound : done;
    case verify:
        pins_ += data.empty() ? 0 : 1; // without data it asks for the tries
        return isPin(data) ? done : threeTriesLeft;
    default: return notFound; // the files with the certificates are not there
    }
}
