// The one way in which the library tells what went wrong.
#pragma once

#include <iostream>
#include <locale>
#include <sstream>
#include <string>

/// Writes its arguments as one line on standard output and flushes it. Numbers stand in it in decimal whatever the host
/// has set up for its stream or locale; the line is inserted whole, so that concurrent calls do not write into it.
template <typename... Parts>
void diagnose(const Parts&... parts)
{
    std::ostringstream line;
    line.imbue(std::locale::classic());
    (line << ... << parts) << '\n';
    const std::string text = line.str();
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}
