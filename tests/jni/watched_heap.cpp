// SPDX-License-Identifier: Apache-2.0
#include "tests/jni/watched_heap.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <new>

namespace {

std::size_t limit = SIZE_MAX;
SecretWatch* watch = nullptr;

void* allocate(std::size_t size) noexcept
{
    // Zeroed, so that looking into a block never meets what an earlier owner left there.
    return size < limit ? std::calloc(1, std::max<std::size_t>(size, 1)) : nullptr;
}

void* allocateOrThrow(std::size_t size)
{
    if (void* block = allocate(size))
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

// clang-format off
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
// clang-format on

AllocationLimit::AllocationLimit(std::size_t bytes)
{
    limit = bytes;
}

AllocationLimit::~AllocationLimit()
{
    limit = SIZE_MAX;
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
