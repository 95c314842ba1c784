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

    /// How many objects of a card that was put back are listed depends on OpenSC's version.
    void expectAListing(const std::string& order)
    {
        const std::string listed = answer(order);
        EXPECT_TRUE(listed == "3 objects" || listed == "2 objects") << listed;
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
    EXPECT_EQ(answer("list"), "3 objects");
    takeOut();
    EXPECT_EQ(answer("list"), "REMOVED");
    EXPECT_EQ(answer(open), "NO_TOKEN");
    putIn();
    EXPECT_EQ(answer("list"), "REMOVED") << "the session is another card's";
    EXPECT_EQ(answer(open), "open");
    expectAListing("list");
}

TEST_F(CardRemoval, EndsASessionAlsoWhereNobodyLooksMeanwhile)
{
    EXPECT_EQ(answer(open), "open");
    takeOut();
    putIn();
    EXPECT_EQ(answer("list"), "REMOVED"); // OpenSC 0.26 opens no other session until it has seen the reader empty
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
    EXPECT_EQ(answer(list), "3 objects");
    takeOut();
    EXPECT_EQ(answer(list), "NO_TOKEN");
    putIn();
    expectAListing(list);
}

TEST_F(CardRemoval, OfPowerEndsASessionAndLetsANewOneOpen)
{
    EXPECT_EQ(answer(open), "open");
    EXPECT_EQ(answer(std::string("reset ") + virtualReader), "reset");
    EXPECT_EQ(answer("list"), "REMOVED");
    EXPECT_EQ(answer(open), "open");
    EXPECT_EQ(answer("list"), "3 objects");
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
