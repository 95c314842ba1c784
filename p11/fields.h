// SPDX-License-Identifier: Apache-2.0
// Blank-padded fields and hexadecimal text.
#pragma once

#include <cstddef>
#include <string>

/// The length of a blank-padded field (PKCS #11 v2.40, section 3.2) without its padding. Only blanks count as padding.
[[nodiscard]] inline std::size_t trimmedLength(const unsigned char* field, std::size_t width)
{
    while (width != 0 && field[width - 1] == ' ')
        --width;
    return width;
}

/// Bytes in lowercase hexadecimal, two digits each.
[[nodiscard]] inline std::string hexadecimal(const unsigned char* bytes, std::size_t count)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text(2 * count, '0');
    char* position = text.data();
    for (std::size_t i = 0; i < count; ++i) {
        *position++ = digits[bytes[i] >> 4];
        *position++ = digits[bytes[i] & 0xF];
    }
    return text;
}

/// A number in lowercase hexadecimal, zero-filled to the width of its type.
[[nodiscard]] inline std::string hexadecimal(unsigned long value)
{
    unsigned char bytes[sizeof value];
    for (std::size_t i = sizeof value; i != 0; value >>= 8)
        bytes[--i] = static_cast<unsigned char>(value);
    return hexadecimal(bytes, sizeof bytes);
}
