// SPDX-License-Identifier: Apache-2.0
// Java applications that watch readers, against the PC/SC service and a card that comes and goes.
#include "tests/endtoend/reader_watch/java_program.h"
#include "tools/virtual_reader/pcsc_service.h"
#include "tools/virtual_reader/virtual_card.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

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
