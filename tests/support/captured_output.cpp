// SPDX-License-Identifier: Apache-2.0
#include "tests/support/captured_output.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace scripted {
namespace {

std::atomic<bool> active{false};

int checked(int result, const char* what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

void flushAll()
{
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
}

std::size_t sizeOf(int descriptor)
{
    struct stat status {};
    checked(fstat(descriptor, &status), "fstat");
    return static_cast<std::size_t>(status.st_size);
}

} // namespace

CapturedOutput::Stream::Stream(int descriptor)
    : descriptor_(descriptor), original_(checked(dup(descriptor), "dup")),
      memory_(checked(memfd_create("captured", MFD_CLOEXEC), "memfd_create"))
{
    checked(dup2(memory_, descriptor_), "dup2");
}

CapturedOutput::Stream::~Stream()
{
    release();
    close(memory_);
}

void CapturedOutput::Stream::release()
{
    if (original_ < 0)
        return;
    dup2(original_, descriptor_);
    close(original_);
    original_ = -1;
}

std::string CapturedOutput::Stream::text() const
{
    std::string text(size(), '\0');
    const ssize_t count = pread(memory_, text.data(), text.size(), 0);
    checked(static_cast<int>(count), "pread");
    text.resize(static_cast<std::size_t>(count));
    return text;
}

std::size_t CapturedOutput::Stream::size() const
{
    return sizeOf(memory_);
}

CapturedOutput::CapturedOutput() : outStream_((flushAll(), STDOUT_FILENO)), errStream_(STDERR_FILENO)
{
    active = true;
}

CapturedOutput::~CapturedOutput()
{
    release();
}

void CapturedOutput::release()
{
    // No flush: text that the code under test left in a buffer must be missed by the tests.
    if (!active.exchange(false))
        return;
    outStream_.release();
    errStream_.release();
}

std::string CapturedOutput::out() const
{
    return outStream_.text();
}
std::string CapturedOutput::err() const
{
    return errStream_.text();
}

std::size_t CapturedOutput::printed()
{
    return active ? sizeOf(STDOUT_FILENO) : 0;
}

} // namespace scripted
