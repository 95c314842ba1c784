// SPDX-License-Identifier: Apache-2.0
// What shows only after a long time: things that grow and threads that meet.
#include "tests/endtoend/endurance/full_cycle.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <thread>

namespace endtoend {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

class Endurance : public testing::Test {
protected:
    void SetUp() override { prepareToken(folder); }

    Folder folder;
};

long linesOf(const char* file)
{
    std::ifstream stream(file);
    return std::count(std::istreambuf_iterator<char>(stream), {}, '\n');
}

long descriptors()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator{});
}

TEST_F(Endurance, ThousandCyclesLeaveMemoryDescriptorsAndMappingsAsTheyAre)
{
    constexpr int cycles = 1000;
    constexpr int settling = 20; // libraries that stay loaded, caches that fill once
    std::size_t heap = 0;
    long mappings = 0;
    long open = 0;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        ASSERT_EQ(fullCycle(), CKR_OK) << "in cycle " << cycle;
        if (cycle + 1 == settling) {
            heap = mallinfo2().uordblks;
            mappings = linesOf("/proc/self/maps");
            open = descriptors();
        }
    }
    const std::size_t grown = mallinfo2().uordblks - heap;
    std::cout << "heap: " << heap << " bytes, " << static_cast<long>(grown) << " more after " << cycles - settling
              << " cycles; mappings: " << mappings << " and " << linesOf("/proc/self/maps") << "; descriptors: " << open
              << " and " << descriptors() << '\n';
    EXPECT_LT(static_cast<long>(grown), 4096)
        << "blocks in the C library's caches count: GLIBC_TUNABLES switches them off";
    EXPECT_LE(linesOf("/proc/self/maps"), mappings);
    EXPECT_EQ(descriptors(), open);
}

/// What a cycle may answer when another thread finalises the module under it, and perhaps has initialised it again, so
/// that a handle has come to mean another object. Some codes could hide a fault, and come seldom: of 2,000 cycles 5 in
/// 8, 6 in 4, 0x12 in 8, the others in none.
enum class Share { any, little };
const std::map<CK_RV, Share> lostRaces = {
    {CKR_CRYPTOKI_NOT_INITIALIZED, Share::any},  {CKR_SESSION_HANDLE_INVALID, Share::any},
    {CKR_OBJECT_HANDLE_INVALID, Share::any},     {CKR_KEY_HANDLE_INVALID, Share::any},
    {CKR_OPERATION_ACTIVE, Share::any},          {CKR_OPERATION_NOT_INITIALIZED, Share::any},
    {CKR_USER_NOT_LOGGED_IN, Share::little},     {CKR_USER_ALREADY_LOGGED_IN, Share::little},
    {CKR_ATTRIBUTE_TYPE_INVALID, Share::little}, {CKR_CRYPTOKI_ALREADY_INITIALIZED, Share::little},
    {CKR_FUNCTION_FAILED, Share::little},        {CKR_KEY_TYPE_INCONSISTENT, Share::little},
    {CKR_GENERAL_ERROR, Share::little}};

TEST_F(Endurance, ThreadsNeitherCrashNorDamageTheToken)
{
    const char* seconds = std::getenv("ENDURANCE_SECONDS");
    const auto end = Clock::now() + std::chrono::seconds(seconds == nullptr ? 60 : std::strtol(seconds, nullptr, 10));
    std::array<std::map<CK_RV, long>, 8> answers;
    std::vector<std::thread> threads;
    for (auto& own : answers)
        threads.emplace_back([&] {
            while (Clock::now() < end)
                ++own[fullCycle()];
        });
    for (std::thread& thread : threads)
        thread.join();
    std::map<CK_RV, long> counts;
    long cycles = 0;
    for (const auto& own : answers)
        for (const auto& [code, count] : own) {
            counts[code] += count;
            cycles += count;
        }
    std::cout << cycles << " cycles, by code:";
    for (const auto& [code, count] : counts) {
        std::cout << "  0x" << std::hex << code << std::dec << ": " << count;
        if (code == CKR_OK)
            continue;
        const auto known = lostRaces.find(code);
        ASSERT_NE(known, lostRaces.end()) << code;
        EXPECT_TRUE(known->second == Share::any || 20 * count <= cycles) << code;
    }
    std::cout << '\n';
    EXPECT_LE(cycles, 100 * counts[CKR_OK]) << "undisturbed to the end";

    EXPECT_EQ(fullCycle(), CKR_OK) << "the token is whole";
}

} // namespace
} // namespace endtoend
