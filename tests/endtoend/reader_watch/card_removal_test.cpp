// SPDX-License-Identifier: Apache-2.0
// A session on a card that is taken out: OpenSC's module, the PC/SC service and a card in a reader.
#include "tests/endtoend/reader_watch/java_program.h"
#include "tests/endtoend/reader_watch/opensc_card.h"
#include "tools/virtual_reader/pcsc_service.h"
#include "tools/virtual_reader/virtual_card.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

class CardRemoval : public testing::Test {
protected:
    CardRemoval() { putIn(); }

    void putIn()
    {
        card_ = std::make_unique<VirtualCard>(VirtualCard::Manner::answering,
                                              [this](const auto& command) { return content_.answer(command); });
        card_->waitUntilIdle();
    }

    void takeOut()
    {
        card_.reset();
        service_.waitUntilEmpty();
    }

    /// What the application answers to an order.
    std::string answer(const std::string& order)
    {
        orders_.send(order + "\n");
        std::string line = answers_.next();
        line.pop_back();
        return line;
    }

    [[nodiscard]] int pins() const { return content_.pins(); }

    const std::string open = std::string("open ") + OpenscCard::pin;

private:
    PcscService service_;
    OpenscCard content_;
    std::unique_ptr<VirtualCard> card_;
    Lines orders_;
    Lines answers_;
    ChildProcess application_{java({"UseToken", OPENSC_MODULE, OpenscCard::token}), orders_.output(), answers_.input(),
                              STDERR_FILENO};
};

TEST_F(CardRemoval, EndsASession)
{
    EXPECT_EQ(answer(open), "open");
    EXPECT_EQ(answer("list"), "2 keys");
    takeOut();
    EXPECT_EQ(answer("list"), "REMOVED");
    EXPECT_EQ(answer(open), "NO_TOKEN");
    putIn();
    EXPECT_EQ(answer("list"), "REMOVED") << "the session is another card's";
    EXPECT_EQ(answer(open), "open");
    EXPECT_EQ(answer("list"), "2 keys");
}

TEST_F(CardRemoval, EndsASessionAlsoWhereNobodyLooksMeanwhile)
{
    EXPECT_EQ(answer(open), "open");
    takeOut();
    putIn();
    EXPECT_EQ(answer("list"), "REMOVED");
    std::string opened = answer(open);
    if (opened == "REMOVED") { // by OpenSC 0.26, until it has seen the reader empty
        takeOut();
        EXPECT_EQ(answer(open), "NO_TOKEN");
        putIn();
        opened = answer(open);
    }
    EXPECT_EQ(opened, "open");
    EXPECT_EQ(answer("list"), "2 keys");
}

TEST_F(CardRemoval, IsSeenByTheListOfReaders)
{
    EXPECT_EQ(answer("tokens"), "2 tokens");
    takeOut();
    EXPECT_EQ(answer("tokens"), "0 tokens");
    putIn();
    EXPECT_EQ(answer("tokens"), "2 tokens");
}

TEST_F(CardRemoval, LiesBetweenTwoJobsWithoutASession)
{
    const std::string list = std::string("list ") + OpenscCard::pin;
    EXPECT_EQ(answer(list), "2 keys");
    takeOut();
    EXPECT_EQ(answer(list), "NO_TOKEN");
    putIn();
    EXPECT_EQ(answer(list), "2 keys");
}

TEST_F(CardRemoval, OfPowerEndsASessionAndLetsANewOneOpen)
{
    EXPECT_EQ(answer(open), "open");
    EXPECT_EQ(answer(std::string("reset ") + virtualReader), "reset");
    EXPECT_EQ(answer("list"), "REMOVED");
    EXPECT_EQ(answer(open), "open");
    EXPECT_EQ(answer("list"), "2 keys");
}

TEST_F(CardRemoval, DoesNotSendAPinAgain)
{
    EXPECT_EQ(answer("open 9999"), "WRONG_PIN");
    EXPECT_EQ(pins(), 1);
    EXPECT_EQ(answer(open), "open");
    takeOut();
    putIn();
    EXPECT_EQ(answer("list"), "REMOVED");
    EXPECT_EQ(pins(), 2);
}

} // namespace
