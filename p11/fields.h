// The forms of text in which the standard's structures hold and the library returns values.
#pragma once

#include <cstddef>
#include <string>

/// The length of a blank-padded field (PKCS #11 v2.40, section 3.2) without its padding. Only blanks count as padding.
inline std::size_t trimmedLength(const unsigned char* field, std::size_t width)
{
    while (width != 0 && field[width - 1] == ' ')
        --width;
    return width;
}

/// `value` in lowercase hexadecimal, zero-filled to `width` digits.
inline std::string hexadecimal(unsigned long value, std::size_t width)
{
    std::string text(width, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, value >>= 4)
        *digit = "0123456789abcdef"[value & 0xF];
    return text;
}
