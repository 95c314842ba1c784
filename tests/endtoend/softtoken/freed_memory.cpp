// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/softtoken/freed_memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

constexpr std::size_t room = std::size_t{1} << 28;

unsigned char* kept = nullptr;
std::atomic<std::size_t> used{0};
std::atomic<bool> keeping{false};

} // namespace

extern "C" {

void __libc_free(void* block);

void keepAndFree(void* block) noexcept __asm__("free");

void keepAndFree(void* block) noexcept
{
    if (keeping && block) {
        const std::size_t size = malloc_usable_size(block);
        const std::size_t place = used.fetch_add(size);
        if (place + size <= room)
            std::memcpy(kept + place, block, size);
    }
    __libc_free(block);
}
}

namespace endtoend {

FreedMemory::FreedMemory()
{
    void* const pages = mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    EXPECT_NE(pages, MAP_FAILED);
    kept = static_cast<unsigned char*>(pages);
    used = 0;
    keeping = true;
}

FreedMemory::~FreedMemory()
{
    stop();
    EXPECT_EQ(munmap(kept, room), 0);
}

void FreedMemory::stop()
{
    keeping = false;
    EXPECT_LE(used.load(), room);
}

bool FreedMemory::contains(const Bytes& secret) const
{
    const unsigned char* const end = kept + std::min(used.load(), room);
    return std::search(static_cast<const unsigned char*>(kept), end, secret.begin(), secret.end()) != end;
}

} // namespace endtoend
