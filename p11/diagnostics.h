// The one way in which the library tells what went wrong.
#pragma once

#include <iostream>
#include <locale>
#include <sstream>

/// Writes its arguments as one line on standard output and flushes it. Numbers stand in it in decimal whatever the host
/// has set up for its stream or locale, and the line leaves in one piece, so that lines of concurrent calls do not mix.
template <typename... Parts>
void diagnose(const Parts&... parts)
{
    std::ostringstream line;
    line.imbue(std::locale::classic());
    (line << ... << parts);
    std::cout << line.str() << std::endl;
}
