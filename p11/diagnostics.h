// SPDX-License-Identifier: Apache-2.0
// The one way in which the library tells what went wrong.
#pragma once

#include <iostream>
#include <string>
#include <type_traits>

/// Where diagnostic lines go: to the process's standard output, or into a text. Whoever starts a job chooses.
class Diagnostics {
public:
    constexpr Diagnostics() = default;
    constexpr explicit Diagnostics(std::string& text) : text_(&text) {}

    /// Takes one whole line with its line end. Standard output gets it as a whole and is flushed, so concurrent calls
    /// do not mix their lines.
    void write(const std::string& line) const
    {
        if (text_ != nullptr)
            *text_ += line;
        else
            std::cout.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
    }

private:
    std::string* text_ = nullptr;
};
inline constexpr Diagnostics standardOutput;

/// Writes texts and numbers as one line. Numbers are decimal, whatever format or locale the host has set for its
/// stream. If the allocation fails, std::bad_alloc is thrown and nothing is written.
template <typename... Parts>
void diagnose(const Diagnostics& lines, const Parts&... parts)
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
    lines.write(line);
}
