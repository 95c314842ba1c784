// SPDX-License-Identifier: Apache-2.0
// Sessions, logins and PINs.
#include "tests/session/scene.h"

namespace {

using namespace scripted;

class Sessions : public SessionTest {
protected:
    void SetUp() override
    {
        load();
        session = call(natives.openSession, loaded, jlong{7});
    }

    bool login(const std::string& pin, CK_USER_TYPE userType = CKU_USER)
    {
        return call(natives.login, loaded, session, static_cast<jlong>(userType), bytes(pin)) == JNI_TRUE;
    }
};

TEST_F(Sessions, AreOpenedForReadingAndWriting)
{
    EXPECT_EQ(session, 41);
    EXPECT_EQ(story + told + thrown, stories::opened);
}

TEST_F(Sessions, AreClosed)
{
    call(natives.closeSession, loaded, session);
    EXPECT_EQ(story + told + thrown, stories::closed);
    call(natives.closeSession, loaded, session);
    EXPECT_EQ(told, failure(CKR_SESSION_HANDLE_INVALID, "C_CloseSession"));
}

TEST_F(Sessions, HaveHandlesOf64Bits)
{
    module.nextSession = 0xfedcba9876543210;
    EXPECT_EQ(static_cast<CK_SESSION_HANDLE>(call(natives.openSession, loaded, jlong{7})), 0xfedcba9876543210);
}

TEST_F(Sessions, LogInTheUser)
{
    EXPECT_TRUE(login("12345678"));
    EXPECT_EQ(story + told + thrown, stories::login(stories::userAndPin));
}

TEST_F(Sessions, LogInTheSecurityOfficer)
{
    EXPECT_TRUE(login("87654321", CKU_SO));
    EXPECT_EQ(story + told + thrown, stories::login("CKU_SO, PIN \"87654321\" [8]"));
}

TEST_F(Sessions, SendAWrongPinOnce)
{
    EXPECT_FALSE(login("wrong"));
    EXPECT_EQ(story, stories::login("CKU_USER, PIN \"wrong\" [5]", CKR_PIN_INCORRECT));
    EXPECT_EQ(told, failure(CKR_PIN_INCORRECT, "C_Login", "Login failed. Code: 160\n"));
    EXPECT_EQ(thrown, "NativeFailure");
}

TEST_F(Sessions, TakeALoginThatIsThereAndTellThatThePinWasNotLookedAt)
{
    EXPECT_TRUE(login("12345678"));
    EXPECT_FALSE(login("wrong"));
    EXPECT_EQ(story, stories::login("CKU_USER, PIN \"wrong\" [5]", CKR_USER_ALREADY_LOGGED_IN));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Sessions, PassAnEmptyPinAsNone)
{
    EXPECT_FALSE(login(""));
    EXPECT_EQ(story, stories::login("CKU_USER, PIN null [0]", CKR_PIN_INCORRECT));
}

TEST_F(Sessions, PassEveryByteOfAPin)
{
    const Bytes pin = {0x00, 0x80, 0xff, 0x00};
    call(natives.login, loaded, session, jlong{CKU_USER}, bytes(pin));
    EXPECT_EQ(story, stories::login("CKU_USER, PIN 0080ff00 [4]", CKR_PIN_INCORRECT));
}

TEST_F(Sessions, ChangeThePinOfWhoeverIsLoggedIn)
{
    login("12345678");
    call(natives.changePin, loaded, session, bytes("12345678"), bytes("new"));
    EXPECT_EQ(story + told + thrown, "C_SetPIN(session 41, old \"12345678\" [8], new \"new\" [3]): CKR_OK\n");
}

} // namespace
