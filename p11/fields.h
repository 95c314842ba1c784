// The forms of text in which the standard's structures hold and the library returns values.
#pragma once

#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

/// The length of a blank-padded field (PKCS #11 v2.40, section 3.1) without its padding. Only blanks count as padding.
inline std::size_t trimmedLength(const unsigned char* field, std::size_t width)
{
    while (width != 0 && field[width - 1] == ' ')
        --width;
    return width;
}

/// `value` in lowercase hexadecimal, zero-filled to `width` digits.
inline std::string hexadecimal(unsigned long value, int width)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::setw(width) << std::setfill('0') << std::hex << value;
    return text.str();
}
