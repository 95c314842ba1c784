// SPDX-License-Identifier: Apache-2.0
// Reader reset as applications have it: in a process of their own, against the PC/SC service and a card in a reader.
#include "tools/child_process/child_process.h"
#include "tools/virtual_reader/pcsc_service.h"
#include "tools/virtual_reader/virtual_card.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

namespace {

using Record = std::vector<std::string>;

struct Application {
    const char* name;
    std::vector<std::string> command;
};

void PrintTo(const Application& application, std::ostream* out)
{
    *out << application.name;
}

std::vector<Application> applications()
{
    return {
        {"Cpp", {RESET_READER}},
#ifdef JAVA
        {"Java", {JAVA, "-Djava.library.path=" JAVA_LIBRARY_PATH, "-cp", JAVA_CLASS_PATH, "ResetReader"}},
#endif
    };
}

class ReaderResetTest : public testing::TestWithParam<Application> {
protected:
    /// Expects the application to end normally, having written exactly this.
    static void resetWrites(const std::string& output, const std::string& reader = virtualReader)
    {
        std::vector<std::string> command = GetParam().command;
        command.push_back(reader);
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, output);
        EXPECT_EQ(outcome.err, "");
    }

    static std::string notDisconnected(const std::string& reader)
    {
        return "Failed to diconnect reader " + reader + ". Error code: 2148532227\n";
    }

    PcscService service;
};

INSTANTIATE_TEST_SUITE_P(Of, ReaderResetTest, testing::ValuesIn(applications()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(ReaderResetTest, PowersTheCardDownForItsNextUser)
{
    VirtualCard card;
    card.waitUntilIdle();
    resetWrites("");
    const CardUser next(SCARD_SHARE_SHARED);
    EXPECT_EQ(next.transmit(), SCARD_S_SUCCESS);
    EXPECT_EQ(card.takeRecord(3), (Record{"power on", "power off", "power on"}));
}

// The service never powers a card off by itself while it is in use, so this was the reset.
TEST_P(ReaderResetTest, TakesTheCardFromUnderItsUser)
{
    VirtualCard card;
    card.waitUntilIdle();
    const CardUser user(SCARD_SHARE_SHARED);
    ASSERT_EQ(user.transmit(), SCARD_S_SUCCESS);
    ASSERT_EQ(card.takeRecord(1), Record{"power on"});
    resetWrites("");
    EXPECT_EQ(card.takeRecord(1), Record{"power off"});
    EXPECT_EQ(user.transmit(), SCARD_W_RESET_CARD);
    const CardUser next(SCARD_SHARE_SHARED);
    EXPECT_EQ(next.transmit(), SCARD_S_SUCCESS);
    EXPECT_EQ(card.takeRecord(1), Record{"power on"});
}

TEST_P(ReaderResetTest, LeavesACardThatIsUsedExclusively)
{
    VirtualCard card;
    card.waitUntilIdle();
    const CardUser user(SCARD_SHARE_EXCLUSIVE);
    ASSERT_EQ(user.transmit(), SCARD_S_SUCCESS);
    resetWrites(notDisconnected(virtualReader));
    EXPECT_EQ(user.transmit(), SCARD_S_SUCCESS);
    EXPECT_EQ(card.takeRecord(1), Record{"power on"});
}

TEST_P(ReaderResetTest, TellsThatThereIsNoCard)
{
    resetWrites(notDisconnected(virtualReader));
}

TEST_P(ReaderResetTest, TellsThatTheCardWasTakenOut)
{
    auto card = std::make_unique<VirtualCard>();
    card->waitUntilIdle();
    card.reset();
    service.waitUntilEmpty();
    resetWrites(notDisconnected(virtualReader));
}

TEST_P(ReaderResetTest, TellsThatThereIsNoSuchReader)
{
    VirtualCard card;
    card.waitUntilIdle();
    resetWrites(notDisconnected("Virtual PCD"), "Virtual PCD");
    resetWrites(notDisconnected("Чтение %s"), "Чтение %s");
    EXPECT_EQ(card.takeRecord(), Record{});
}

TEST_P(ReaderResetTest, TellsThatTheServiceIsStopped)
{
    VirtualCard card;
    card.waitUntilIdle();
    service.stop();
    resetWrites("Failed to establish context: 2148532253\n");
    EXPECT_EQ(card.takeRecord(), Record{});
}

} // namespace
