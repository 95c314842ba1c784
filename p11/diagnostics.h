// SPDX-License-Identifier: Apache-2.0
// The one way in which the library tells what went wrong.
#pragma once

#include <iostream>
#include <string>
#include <type_traits>

/// Writes texts and numbers as one line on standard output and flushes it. Numbers are decimal, whatever format or
/// locale the host has set for its stream. The line is inserted as a whole, so concurrent calls do not mix their lines.
/// If the allocation fails, std::bad_alloc is thrown and nothing is written.
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
