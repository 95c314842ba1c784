// SPDX-License-Identifier: Apache-2.0
// A Java application beside the test, and lines of text to it and from it.
#pragma once

#include "tools/child_process/child_process.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

/// A pipe for lines of text between this program and another.
class Lines {
public:
    Lines()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        input_ = ends[1];
        output_ = fdopen(ends[0], "r");
    }
    ~Lines()
    {
        end();
        (void)fclose(output_);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    int input() const { return input_; }
    int output() const { return fileno(output_); }

    std::string next()
    {
        std::array<char, 2000> line{};
        return std::fgets(line.data(), line.size(), output_) == nullptr ? "(end)" : line.data();
    }

    void send(const std::string& line) const
    {
        if (write(input_, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            throw std::runtime_error("nobody reads the pipe");
    }

    /// Nothing more is sent.
    void end()
    {
        if (input_ != -1)
            (void)close(input_); // all was written
        input_ = -1;
    }

private:
    int input_ = -1;
    std::FILE* output_ = nullptr;
};

/// How a program with its arguments is started.
inline std::vector<std::string> java(const std::vector<std::string>& program)
{
    std::vector<std::string> command = {JAVA, "-Djava.library.path=" JAVA_LIBRARY_PATH, "-cp", JAVA_CLASS_PATH};
    command.insert(command.end(), program.begin(), program.end());
    return command;
}
