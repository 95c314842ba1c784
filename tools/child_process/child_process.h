// SPDX-License-Identifier: Apache-2.0
// A program run beside this one.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

class ChildProcess {
public:
    /// Starts `command`, a program looked for in PATH and its arguments, with these descriptors as standard input,
    /// output and error. It is killed when the thread that started it ends, for whatever reason.
    ChildProcess(const std::vector<std::string>& command, int in, int out, int err);

    /// Kills the program if it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Sends the program a signal, if it still runs.
    void signal(int number);

    [[nodiscard]] bool running();

    /// Waits for the program's end; its exit status, or 128 and the number of the signal that ended it. 127 and
    /// a line on standard error mean that it could not be run.
    [[nodiscard]] int wait();

private:
    pid_t pid_;
    int status_ = 0;
};

/// How a program ended and what it wrote.
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

/// Runs `command` to its end, with nothing on its standard input.
[[nodiscard]] Outcome run(const std::vector<std::string>& command);
