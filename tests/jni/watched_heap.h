// SPDX-License-Identifier: Apache-2.0
// The heap of the test program, library included, under observation: operator new and operator delete are replaced in
// watched_heap.cpp. Valgrind replaces them in its turn unless told --soname-synonyms=somalloc=nouserintercepts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Makes every allocation of `bytes` and more fail with std::bad_alloc for the length of one scope.
class AllocationLimit {
public:
    explicit AllocationLimit(std::size_t bytes);
    ~AllocationLimit();
    AllocationLimit(const AllocationLimit&) = delete;
    AllocationLimit& operator=(const AllocationLimit&) = delete;
};

/// Looks, for the length of one scope, into every block that is given back to the heap. One at a time.
///
/// It sees the heap alone: short std::strings keep their characters elsewhere, which is what lets a test and its
/// scripted module handle a secret of up to 15 bytes without being taken for the library.
class SecretWatch {
public:
    using Bytes = std::vector<unsigned char>;

    /// The secrets have no byte 0, which is what wiping leaves.
    explicit SecretWatch(const std::vector<Bytes>& secrets);
    ~SecretWatch();
    SecretWatch(const SecretWatch&) = delete;
    SecretWatch& operator=(const SecretWatch&) = delete;

    /// Tells that memory has received bytes of a Java array; copies of anything but a secret are passed over.
    void copied(const void* address, std::size_t length);

    /// The copies of secrets that were taken.
    [[nodiscard]] std::size_t copies() const { return taken_.size(); }
    /// Those of them whose block is back on the heap, wiped or not.
    [[nodiscard]] std::size_t released() const;
    /// The blocks given back with a whole secret in them, whoever put it there, or with a single byte left of a copy.
    [[nodiscard]] std::size_t betrayals() const { return found_; }

    /// For operator delete.
    void inspect(const void* block, std::size_t size);

private:
    struct Copy {
        const unsigned char* address;
        const Bytes* secret;
        bool released;
    };

    const std::vector<Bytes> secrets_;
    std::vector<Copy> taken_;
    std::size_t found_ = 0;
};
