// SPDX-License-Identifier: Apache-2.0
#include "tests/support/watched_heap.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

namespace {

std::size_t limit = SIZE_MAX;
FailingAllocation* failing = nullptr;
SecretWatch* watch = nullptr;

/// Whether the file that has this code has a name that begins so.
bool isCodeOf(const char* name, const void* code)
{
    Dl_info file{};
    if (dladdr(code, &file) == 0)
        return false;
    const char* const slash = std::strrchr(file.dli_fname, '/');
    return std::strncmp(slash == nullptr ? file.dli_fname : slash + 1, name, std::strlen(name)) == 0;
}

void* allocate(std::size_t size, const void* caller) noexcept
{
    if (failing != nullptr && failing->fails(caller))
        return nullptr;
    // Zeroed, so that looking into a block never meets what an earlier owner left there.
    return size < limit ? std::calloc(1, std::max<std::size_t>(size, 1)) : nullptr;
}

void* allocateOrThrow(std::size_t size, const void* caller)
{
    if (void* block = allocate(size, caller))
        return block;
    throw std::bad_alloc();
}

void release(void* block) noexcept
{
    if (watch != nullptr && block != nullptr)
        watch->inspect(block, malloc_usable_size(block));
    std::free(block);
}

} // namespace

#define CALLER __builtin_return_address(0)
// clang-format off
void* operator new(std::size_t size) { return allocateOrThrow(size, CALLER); }
void* operator new[](std::size_t size) { return allocateOrThrow(size, CALLER); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, CALLER); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, CALLER); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
// clang-format on
#undef CALLER

AllocationLimit::AllocationLimit(std::size_t bytes)
{
    limit = bytes;
}

AllocationLimit::~AllocationLimit()
{
    limit = SIZE_MAX;
}

FailingAllocation::FailingAllocation(const char* library, unsigned n) : library_(library), untilFailure_(n)
{
    failing = this;
}

FailingAllocation::~FailingAllocation()
{
    failing = nullptr;
}

bool FailingAllocation::fails(const void* caller)
{
    return untilFailure_ != 0 && isOfLibrary(caller) && --untilFailure_ == 0;
}

// The C++ library allocates for whoever has called it.
bool FailingAllocation::isOfLibrary(const void* caller) const
{
    std::array<void*, 24> frames{};
    const auto end = frames.begin() + backtrace(frames.data(), frames.size());
    const auto frame = std::find_if(std::find(frames.begin(), end, caller), end,
                                    [](const void* code) { return !isCodeOf("libstdc++", code); });
    return frame != end && isCodeOf(library_, *frame);
}

SecretWatch::SecretWatch(const std::vector<Bytes>& secrets) : secrets_(secrets)
{
    taken_.reserve(16);
    watch = this;
}

SecretWatch::~SecretWatch()
{
    watch = nullptr;
}

void SecretWatch::copied(const void* address, std::size_t length)
{
    const auto* begin = static_cast<const unsigned char*>(address);
    for (const Bytes& secret : secrets_)
        if (std::equal(begin, begin + length, secret.begin(), secret.end()))
            taken_.push_back({begin, &secret, false});
}

std::size_t SecretWatch::released() const
{
    return std::count_if(taken_.begin(), taken_.end(), [](const Copy& copy) { return copy.released; });
}

// Runs within operator delete and therefore allocates nothing.
void SecretWatch::inspect(const void* block, std::size_t size)
{
    const auto* begin = static_cast<const unsigned char*>(block);
    const auto* end = begin + size;
    bool betrayed = false;
    for (const Bytes& secret : secrets_)
        betrayed = betrayed || std::search(begin, end, secret.begin(), secret.end()) != end;
    for (Copy& copy : taken_) {
        if (copy.released || std::less<>()(copy.address, begin) || !std::less<>()(copy.address, end))
            continue;
        copy.released = true;
        for (std::size_t i = 0; i < copy.secret->size(); ++i)
            betrayed = betrayed || copy.address[i] == (*copy.secret)[i];
    }
    if (betrayed)
        ++found_;
}
