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

/// Fills [first, last) with the lowest digits of `value` in lowercase hexadecimal.
template <typename Iterator>
void fillHexadecimal(Iterator first, Iterator last, unsigned long value)
{
    for (; first != last; value >>= 4)
        *--last = "0123456789abcdef"[value & 0xF];
}
