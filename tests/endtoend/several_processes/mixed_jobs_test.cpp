// SPDX-License-Identifier: Apache-2.0
// Many processes at once on one token, each with jobs of every kind. PROCESSES and SECONDS say how many and how long.
#include "tests/endtoend/endurance/full_cycle.h"
#include "tests/endtoend/several_processes/deaths.h"
#include "tests/endtoend/several_processes/raw_token.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <list>
#include <set>

namespace endtoend {
namespace {

std::string fromEnvironment(const char* variable, const char* otherwise)
{
    const char* value = std::getenv(variable);
    return value == nullptr ? otherwise : value;
}

TEST(MixedJobs, OfManyProcessesLoseNothing)
{
    const Folder folder;
    prepareToken(folder);
    folder.write("pin", bytes("0\n"));
    const int count = std::stoi(fromEnvironment("PROCESSES", "6"));
    const std::string seconds = fromEnvironment("SECONDS", "3");

    std::list<ChildProcess> workers;
    for (int i = 0; i < count; ++i)
        workers.emplace_back(std::vector<std::string>{MIXED_WORKER, std::to_string(i), seconds, folder.path()},
                             STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO);
    for (ChildProcess& worker : workers)
        EXPECT_EQ(worker.wait(), 0);

    std::set<std::string> expected;
    for (int i = 0; i < count; ++i) {
        std::ifstream file(folder.path() / ("objects." + std::to_string(i)));
        EXPECT_TRUE(file.is_open());
        for (std::string label; file >> label;)
            expected.insert(label);
    }
    long pin = 0;
    std::ifstream(folder.path() / "pin") >> pin;
    const RawToken token;
    ASSERT_CKR(token.login(pinNumber(pin)), CKR_OK);
    std::set<std::string> found;
    for (const auto& [label, object] : token.objects()) {
        found.insert(label);
        EXPECT_EQ(token.value(object), RawToken::valueFor(label)) << label;
    }
    EXPECT_EQ(found, expected);
    EXPECT_FALSE(found.empty());
}

} // namespace
} // namespace endtoend
