// SPDX-License-Identifier: Apache-2.0
// Wrappers of several threads at once. The library holds no lock and needs none: a wrapper shares nothing but the
// module.
#include "tests/p11/wrapper_test.h"

#include <thread>

using namespace scripted;

namespace {

TEST(Concurrency, WrappersOfSeveralThreadsShareOnlyTheModule)
{
    Transcript transcript;
    ScriptedModule module(transcript);
    module.addSampleObjects();
    module.C_Finalize = answering(CKR_OK); // else whoever ends first takes the module from the others
    constexpr int cycles = 50;
    std::vector<std::thread> threads;
    std::atomic<int> complete{0};
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int cycle = 0; cycle < cycles; ++cycle) {
                P11Wrapper token(moduleFile);
                Buffer pin = "12345678";
                std::vector<ObjectAttr> objects;
                if (token.Initialize() && token.ListObjects(slotId, pin.data(), pin.size(), objects) == CKR_OK &&
                    objects.size() == 6)
                    ++complete;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(complete, 4 * cycles);
}

TEST(Concurrency, LinesOfSeveralThreadsStayWhole)
{
    constexpr int lines = 200;
    // The file stays loaded: ThreadSanitizer does not know the loader's lock and takes one thread's release of what
    // another loaded for a race.
    const P11Wrapper held(notAModuleFile);
    CapturedOutput output;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            P11Wrapper token(notAModuleFile);
            for (int line = 0; line < lines; ++line)
                token.InitCard(slotId, nullptr, 0);
        });
    for (std::thread& thread : threads)
        thread.join();
    output.release();
    std::string expected;
    for (int i = 0; i < 4 * lines; ++i)
        expected += "Not Initialized\n";
    EXPECT_EQ(output.out(), expected);
}

} // namespace
