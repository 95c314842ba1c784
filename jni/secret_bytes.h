// SPDX-License-Identifier: Apache-2.0
// Byte runs, and those that may hold a secret.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// Wipes memory before it is released, whatever the reason: the end of a call, growth, an exception.
template <typename T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() = default;
    template <typename U>
    explicit WipingAllocator(const WipingAllocator<U>&) noexcept
    {
    }

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count)
    {
        explicit_bzero(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }

    friend bool operator==(const WipingAllocator&, const WipingAllocator&) { return true; }
    friend bool operator!=(const WipingAllocator&, const WipingAllocator&) { return false; }
};

/// Bytes that may be a PIN or another secret.
using SecretBytes = std::vector<unsigned char, WipingAllocator<unsigned char>>;

/// A byte run's first byte, null when it has none.
template <typename Run>
unsigned char* firstByte(Run& bytes)
{
    return bytes.empty() ? nullptr : bytes.data();
}
