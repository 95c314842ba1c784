// SPDX-License-Identifier: Apache-2.0
#include "tools/child_process/child_process.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <system_error>

namespace {

constexpr int notRun = 127; // as the shell has it

int checked(int result, const char* what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

int statusOf(int waited)
{
    return WIFEXITED(waited) ? WEXITSTATUS(waited) : 128 + WTERMSIG(waited);
}

/// Empty at first; what a program reads from or writes into.
class MemoryFile {
public:
    MemoryFile() : descriptor_(checked(memfd_create("stream", MFD_CLOEXEC), "memfd_create")) {}
    ~MemoryFile() { (void)close(descriptor_); } // nothing to lose: it was never on a disk
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int file() const { return descriptor_; }

    std::string text() const
    {
        std::string text;
        std::array<char, 4096> block{};
        while (const ssize_t count = pread(descriptor_, block.data(), block.size(), static_cast<off_t>(text.size())))
            text.append(block.data(), static_cast<std::size_t>(checked(static_cast<int>(count), "pread")));
        return text;
    }

private:
    int descriptor_;
};

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, int in, int out, int err)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const pid_t parent = getpid();
    pid_ = checked(fork(), "fork");
    if (pid_ != 0)
        return;
    // Only system calls from here on: another thread of the parent may have held a lock.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent && dup2(in, STDIN_FILENO) >= 0 &&
        dup2(out, STDOUT_FILENO) >= 0 && dup2(err, STDERR_FILENO) >= 0)
        execvp(arguments[0], arguments.data());
    constexpr std::string_view reason = ": cannot be run\n";
    (void)!write(STDERR_FILENO, arguments[0], std::strlen(arguments[0])); // nobody is left to tell of a failure
    (void)!write(STDERR_FILENO, reason.data(), reason.size());
    _exit(notRun);
}

ChildProcess::~ChildProcess()
{
    if (pid_ == 0)
        return;
    (void)kill(pid_, SIGKILL); // cannot fail: until somebody waits for it there is this child
    (void)wait();
}

void ChildProcess::signal(int number)
{
    if (pid_ != 0)
        (void)kill(pid_, number); // cannot fail either
}

bool ChildProcess::running()
{
    if (pid_ == 0)
        return false;
    int waited = 0;
    if (checked(waitpid(pid_, &waited, WNOHANG), "waitpid") == 0)
        return true;
    pid_ = 0;
    status_ = statusOf(waited);
    return false;
}

int ChildProcess::wait()
{
    if (pid_ == 0)
        return status_;
    int waited = 0;
    while (waitpid(pid_, &waited, 0) < 0 && errno == EINTR) {
    }
    pid_ = 0;
    return status_ = statusOf(waited);
}

Outcome run(const std::vector<std::string>& command)
{
    const MemoryFile in;
    const MemoryFile out;
    const MemoryFile err;
    const int status = ChildProcess(command, in.file(), out.file(), err.file()).wait();
    return {status, out.text(), err.text()};
}
