// The one way in which the library tells what went wrong.
#pragma once

#include <iostream>
#include <string>
#include <type_traits>

/// Writes texts and numbers as one line on standard output and flushes it. Numbers stand in it in decimal whatever the
/// host has set up for its stream or locale. The line is inserted whole, so that concurrent calls do not write into it;
/// one that cannot be held in memory leaves as std::bad_alloc with nothing written.
template <typename... Parts>
void diagnose(const Parts&... parts)
{
    std::string line;
    const auto append = [&](const auto& part) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(part)>>)
            line += std::to_string(part);
        else
            line += part;
    };
    (append(parts), ...);
    line += '\n';
    std::cout.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
}
