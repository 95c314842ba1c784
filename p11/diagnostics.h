// SPDX-License-Identifier: Apache-2.0
// The one way in which the library tells what went wrong.
#pragma once

#include <iostream>
#include <string>
#include <type_traits>

/// Where diagnostic lines go. Whoever starts a job chooses the place.
class Diagnostics {
public:
    /// Takes one whole line with its line end.
    virtual void write(const std::string& line) const = 0;

protected:
    constexpr Diagnostics() = default;
    ~Diagnostics() = default;
};

/// The process's standard output, flushed after each line. A line is inserted as a whole, so concurrent calls do not
/// mix their lines.
class StandardOutput final : public Diagnostics {
public:
    void write(const std::string& line) const override
    {
        std::cout.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
    }
};
inline constexpr StandardOutput standardOutput{};

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
