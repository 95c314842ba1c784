// SPDX-License-Identifier: Apache-2.0
// Observes the heap of the test program, library included. watched_heap.cpp replaces operator new and operator delete;
// valgrind replaces them again, unless it runs with --soname-synonyms=somalloc=nouserintercepts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// While it lives, every allocation of at least `bytes` fails with std::bad_alloc.
class AllocationLimit {
public:
    explicit AllocationLimit(std::size_t bytes);
    ~AllocationLimit();
    AllocationLimit(const AllocationLimit&) = delete;
    AllocationLimit& operator=(const AllocationLimit&) = delete;
};

/// While it lives, one allocation of a shared library fails with std::bad_alloc: the n-th from now on (1 is the next
/// one). The allocations of other files, the test program's and what it calls for instance, are not counted. One at a
/// time.
class FailingAllocation {
public:
    /// `library` is how the name of its file begins.
    FailingAllocation(const char* library, unsigned n);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether that allocation has come.
    [[nodiscard]] bool hasFailed() const { return untilFailure_ == 0; }

    /// For operator new.
    [[nodiscard]] bool fails(const void* caller);

private:
    [[nodiscard]] bool isOfLibrary(const void* caller) const;

    const char* library_;
    unsigned untilFailure_;
};

/// While it lives, inspects every block that is given back to the heap. One at a time.
///
/// It sees only the heap. A std::string of up to 15 bytes keeps its characters outside the heap, so a test and its
/// scripted module can handle a short secret without being mistaken for the library.
class SecretWatch {
public:
    using Bytes = std::vector<unsigned char>;

    /// No secret may contain a byte 0: that is what wiping leaves.
    explicit SecretWatch(const std::vector<Bytes>& secrets);
    ~SecretWatch();
    SecretWatch(const SecretWatch&) = delete;
    SecretWatch& operator=(const SecretWatch&) = delete;

    /// Tells that memory has received bytes of a Java array; copies of anything but a secret are ignored.
    void copied(const void* address, std::size_t length);

    /// The copies of secrets that were taken.
    [[nodiscard]] std::size_t copies() const { return taken_.size(); }
    /// Those of them whose block is back on the heap, wiped or not.
    [[nodiscard]] std::size_t released() const;
    /// The blocks given back that contained a whole secret, from whatever source, or at least one byte of a copy.
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
