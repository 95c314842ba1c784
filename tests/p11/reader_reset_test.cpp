// SPDX-License-Identifier: Apache-2.0
// Powering a card down through PC/SC.
#include "p11/P11Wrapper.h"
#include "tests/support/scripted_pcsc.h"
#include "tests/support/told.h"

#include <gtest/gtest.h>

using namespace scripted;

namespace {

const std::string established = "SCardEstablishContext(scope 0, null, null) -> context 81: 0\n";
const std::string connect = "SCardConnect(context 81, reader \"Reader 0\", share mode 2, protocols 3)";
const std::string connected = connect + " -> card 91: 0\n";
const std::string released = "SCardReleaseContext(context 81): 0\n";

class ReaderResetTest : public testing::Test {
protected:
    std::string reset(const char* reader = "Reader 0")
    {
        return storyOf(transcript, [&] { P11Wrapper::ResetTerminal(reader); });
    }

    Transcript transcript;
    ScriptedPcsc pcsc{transcript};
};

TEST_F(ReaderResetTest, PowersTheCardDownSilently)
{
    EXPECT_EQ(reset(), established + connected + "SCardDisconnect(card 91, disposition 2): 0\n" + released);
}

TEST_F(ReaderResetTest, WithoutTheServiceNothingElseIsCalled)
{
    pcsc.establishResult = SCARD_E_NO_SERVICE;
    EXPECT_EQ(reset(), "SCardEstablishContext(scope 0, null, null): 2148532253\n"
                       "| Failed to establish context: 2148532253\n");
}

TEST_F(ReaderResetTest, FailedConnectionShowsOnlyInTheDisconnection)
{
    pcsc.connectResult = SCARD_E_NO_SMARTCARD;
    pcsc.disconnectResult = SCARD_E_INVALID_HANDLE;
    EXPECT_EQ(reset(), established + connect + ": 2148532236\n" +
                           "SCardDisconnect(card 0, disposition 2): 2148532227\n"
                           "| Failed to diconnect reader Reader 0. Error code: 2148532227\n" +
                           released);
}

TEST_F(ReaderResetTest, FailedDisconnectionStillReleasesTheContext)
{
    pcsc.disconnectResult = SCARD_E_READER_UNAVAILABLE;
    EXPECT_EQ(reset(), established + connected +
                           "SCardDisconnect(card 91, disposition 2): 2148532247\n"
                           "| Failed to diconnect reader Reader 0. Error code: 2148532247\n" +
                           released);
}

TEST_F(ReaderResetTest, FailedReleaseIsIgnored)
{
    pcsc.releaseResult = SCARD_E_INVALID_HANDLE;
    EXPECT_EQ(reset(), established + connected +
                           "SCardDisconnect(card 91, disposition 2): 0\n"
                           "SCardReleaseContext(context 81): 2148532227\n");
}

TEST_F(ReaderResetTest, CodesAreSigned)
{
    pcsc.establishResult = -1;
    EXPECT_EQ(reset(), "SCardEstablishContext(scope 0, null, null): -1\n"
                       "| Failed to establish context: -1\n");
    pcsc.establishResult = SCARD_S_SUCCESS;
    pcsc.disconnectResult = -2;
    EXPECT_EQ(reset(), established + connected +
                           "SCardDisconnect(card 91, disposition 2): -2\n"
                           "| Failed to diconnect reader Reader 0. Error code: -2\n" +
                           released);
}

TEST_F(ReaderResetTest, ReaderNameIsPassedOnAsItIs)
{
    pcsc.disconnectResult = SCARD_E_INVALID_HANDLE;
    EXPECT_EQ(reset("\xd0\xa7 %s"), established +
                                        "SCardConnect(context 81, reader \"\xd0\xa7 %s\", share mode 2, protocols 3)"
                                        " -> card 91: 0\n"
                                        "SCardDisconnect(card 91, disposition 2): 2148532227\n"
                                        "| Failed to diconnect reader \xd0\xa7 %s. Error code: 2148532227\n" +
                                        released);
}

} // namespace
