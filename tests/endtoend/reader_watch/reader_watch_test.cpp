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

/// A pipe for lines of text between this program and another.
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
        end();
        (void)fclose(output_);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    int input() const { return input_; }
    int output() const { return fileno(output_); }

    std::string next()
    {
        std::array<char, 2000> line{};
        return std::fgets(line.data(), line.size(), output_) == nullptr ? "(end)" : line.data();
    }

    void send(const std::string& line) const
    {
        if (write(input_, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            throw std::runtime_error("nobody reads the pipe");
    }

    /// Nothing more is sent.
    void end()
    {
        if (input_ != -1)
            (void)close(input_); // all was written
        input_ = -1;
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

// OpenSC's module does not know the card, so its slots stay empty.
TEST(ReaderWatch, AReaderThatComesLaterIsASlotOfTheNextCall)
{
    Lines orders;
    Lines lines;
    ChildProcess application(java({"ListSlots", OPENSC_MODULE}), orders.output(), lines.input(), STDERR_FILENO);
    const auto firstSlot = [&] {
        orders.send("list\n");
        const std::string first = lines.next();
        for (std::string line = first; line != "\n" && line != "(end)";)
            line = lines.next();
        return first;
    };

    EXPECT_EQ(firstSlot(), "\n"); // without the service there is none
    const PcscService service;
    EXPECT_EQ(firstSlot(), virtualReader + std::string(": no card\n"));
    orders.end();
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
