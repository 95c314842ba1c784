// SPDX-License-Identifier: Apache-2.0
// What other programs tell of a built library.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace scripted {

/// What a command writes to standard output. A command that fails fails the test.
[[nodiscard]] inline std::string outputOf(const std::string& command)
{
    const auto close = [](std::FILE* stream) { EXPECT_EQ(pclose(stream), 0); };
    const std::unique_ptr<std::FILE, decltype(close)> stream(popen(command.c_str(), "r"), close);
    std::string output;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stream.get()))
        output.append(buffer, count);
    return output;
}

/// The names that a library exports, as the program nm tells them.
[[nodiscard]] inline std::set<std::string> exportedNames(const std::string& nm, const std::string& library)
{
    std::istringstream lines(outputOf(nm + " -D --defined-only -P '" + library + "'"));
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);)
        names.insert(line.substr(0, line.find(' ')));
    return names;
}

} // namespace scripted
