// SPDX-License-Identifier: Apache-2.0
// Java applications that watch readers, against the PC/SC service and a card that comes and goes.
#include "tools/child_process/child_process.h"
#include "tools/virtual_reader/pcsc_service.h"
#include "tools/virtual_reader/virtual_card.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// A program's standard output, line by line.
class Lines {
public:
    Lines()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        input_ = ends[1];
        output_ = fdopen(ends[0], "r");
    }
    ~Lines()
    {
        (void)close(input_); // nothing is written to it
        (void)fclose(output_);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    int input() const { return input_; }

    std::string next()
    {
        std::array<char, 2000> line{};
        return std::fgets(line.data(), line.size(), output_) == nullptr ? "(end)" : line.data();
    }

private:
    int input_ = -1;
    std::FILE* output_ = nullptr;
};

std::vector<std::string> java(const std::vector<std::string>& program)
{
    std::vector<std::string> command = {JAVA, "-Djava.library.path=" JAVA_LIBRARY_PATH, "-cp", JAVA_CLASS_PATH};
    command.insert(command.end(), program.begin(), program.end());
    return command;
}

TEST(ReaderWatch, TellsOfACardThatComesAndGoes)
{
    const PcscService service;
    Lines lines;
    ChildProcess application(java({"WatchReaders"}), STDIN_FILENO, lines.input(), STDERR_FILENO);
    EXPECT_EQ(lines.next(), virtualReader + std::string(": no card, 0 bytes\n"));
    auto card = std::make_unique<VirtualCard>();
    EXPECT_EQ(lines.next(), virtualReader + std::string(": card of 2 bytes\n"));
    card.reset();
    EXPECT_EQ(lines.next(), virtualReader + std::string(": no card, 0 bytes\n"));
    EXPECT_EQ(lines.next(), "nothing more\n");
    EXPECT_EQ(application.wait(), 0);
}

TEST(ReaderWatch, ABatchWaitsForEachCardAndGoesOnAfterAFailure)
{
    const PcscService service;
    auto card = std::make_unique<VirtualCard>();
    Lines lines;
    ChildProcess application(
        java({"recipes.BatchIssuing", "/no/such/module.so", virtualReader, "false", "CN=Alice", "CN=Boris"}),
        STDIN_FILENO, lines.input(), STDERR_FILENO);
    for (const std::string person : {"CN=Alice", "CN=Boris"}) {
        // The card before it has to go first.
        card.reset();
        EXPECT_EQ(lines.next(), "put in the card of " + person + "\n");
        card = std::make_unique<VirtualCard>();
        EXPECT_EQ(lines.next().rfind(person + ": FAILED, ", 0), 0U);
    }
    EXPECT_EQ(application.wait(), 0);
}

} // namespace
