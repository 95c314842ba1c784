// SPDX-License-Identifier: Apache-2.0
// A PIN that locks after wrong tries, which only happens where it is asked for.
#include "tests/endtoend/softtoken/soft_token.h"

#include <cstdlib>

namespace endtoend {
namespace {

class PinTries : public TokenTest {
protected:
    ~PinTries() override { unsetenv(variable); }

    /// Starts anew with the PIN locking after so many wrong tries; never, with none.
    void startAgain(const char* tries)
    {
        if (tries)
            setenv(variable, tries, 1);
        else
            unsetenv(variable);
        EXPECT_CKR(standard->C_Finalize(nullptr), CKR_OK);
        ASSERT_CKR(standard->C_Initialize(nullptr), CKR_OK);
        session = openSession();
    }

    CK_RV changePin(std::string from, std::string to) const
    {
        return standard->C_SetPIN(session, reinterpret_cast<CK_BYTE_PTR>(from.data()), from.size(),
                                  reinterpret_cast<CK_BYTE_PTR>(to.data()), to.size());
    }

    CK_RV loginOfficer(std::string pin = soPin) const
    {
        return standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size());
    }

    /// The flags that say how many tries are left.
    CK_FLAGS shown() const
    {
        CK_TOKEN_INFO info = {};
        EXPECT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_OK);
        return info.flags & (CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED);
    }

    void lockPin()
    {
        startAgain("1");
        ASSERT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
        ASSERT_CKR(login(session), CKR_PIN_LOCKED);
    }

    static constexpr const char* variable = "VORNIX_SOFTTOKEN_PIN_TRIES";
    static constexpr CK_FLAGS none = 0;
    static constexpr CK_FLAGS low = CKF_USER_PIN_COUNT_LOW;
    static constexpr CK_FLAGS final = CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY;
    static constexpr CK_FLAGS locked = CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_LOCKED;
    const std::string wrong = "00000000";
    const std::string otherPin = "abcdefgh";
};

TEST_F(PinTries, AreWithoutEndUnlessLimited)
{
    startAgain(nullptr);
    for (int i = 0; i < 20; ++i)
        EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    EXPECT_EQ(shown(), low);
    EXPECT_CKR(login(session), CKR_OK);
    EXPECT_EQ(shown(), none);
}

TEST_F(PinTries, LockThePinWhenTheyAreUsedUp)
{
    startAgain("3");
    EXPECT_EQ(shown(), none);
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    EXPECT_EQ(shown(), low);
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    EXPECT_EQ(shown(), final);
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    EXPECT_EQ(shown(), locked);
    EXPECT_CKR(login(session), CKR_PIN_LOCKED);
    EXPECT_CKR(changePin(userPin, otherPin), CKR_PIN_LOCKED);
}

TEST_F(PinTries, BeginAnewAfterTheRightPin)
{
    startAgain("2");
    for (int i = 0; i < 3; ++i) {
        EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
        EXPECT_EQ(shown(), final);
        EXPECT_CKR(login(session), CKR_OK);
        EXPECT_EQ(shown(), none);
        EXPECT_CKR(standard->C_Logout(session), CKR_OK);
    }
}

TEST_F(PinTries, AreUsedUpByAPinChangeToo)
{
    startAgain("2");
    EXPECT_CKR(changePin(wrong, otherPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(changePin(userPin, userPin), CKR_OK);
    EXPECT_EQ(shown(), none);
    EXPECT_CKR(changePin(wrong, otherPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(changePin(wrong, otherPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session), CKR_PIN_LOCKED);
}

TEST_F(PinTries, AreNotUsedUpWhereNoPinWasJudged)
{
    startAgain("1");
    EXPECT_CKR(changePin(userPin, "1"), CKR_PIN_LEN_RANGE);
    EXPECT_CKR(standard->C_Login(session, CKU_USER, nullptr, 0), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(login(session), CKR_OK);
    EXPECT_CKR(login(session, wrong), CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_CKR(standard->C_Logout(session), CKR_OK);
    EXPECT_CKR(login(session), CKR_OK);
}

TEST_F(PinTries, AreCountedFromOneLifeToTheNext)
{
    startAgain("3");
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    startAgain("3");
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    startAgain("3");
    EXPECT_EQ(shown(), final);
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    startAgain("3");
    EXPECT_CKR(login(session), CKR_PIN_LOCKED);
}

TEST_F(PinTries, OfBeforeALowerLimitCount)
{
    startAgain("3");
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session, wrong), CKR_PIN_INCORRECT);
    startAgain("2");
    EXPECT_CKR(login(session), CKR_PIN_LOCKED);
    EXPECT_EQ(shown(), locked);
}

TEST_F(PinTries, AreTheUsersAlone)
{
    startAgain("1");
    for (int i = 0; i < 3; ++i)
        EXPECT_CKR(loginOfficer(wrong), CKR_PIN_INCORRECT);
    EXPECT_CKR(loginOfficer(), CKR_OK);
    EXPECT_CKR(changePin(wrong, otherPin), CKR_PIN_INCORRECT) << "the security officer's own";
    EXPECT_CKR(standard->C_Logout(session), CKR_OK);
    EXPECT_CKR(login(session), CKR_OK);
}

TEST_F(PinTries, StayUsedUpWhereNoLimitIsAskedFor)
{
    lockPin();
    startAgain(nullptr);
    EXPECT_EQ(shown(), locked);
    EXPECT_CKR(login(session), CKR_PIN_LOCKED);
}

TEST_F(PinTries, AreGivenAnewByTheSecurityOfficer)
{
    lockPin();
    ASSERT_CKR(loginOfficer(), CKR_OK);
    std::string pin = otherPin;
    EXPECT_CKR(standard->C_InitPIN(session, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()), CKR_OK);
    EXPECT_CKR(standard->C_Logout(session), CKR_OK);
    EXPECT_EQ(shown(), CKF_USER_PIN_FINAL_TRY) << "of one";
    EXPECT_CKR(login(session, otherPin), CKR_OK);
}

TEST_F(PinTries, AreGivenAnewByAnInitialisation)
{
    lockPin();
    ASSERT_CKR(standard->C_CloseSession(session), CKR_OK);
    ASSERT_CKR(initToken("11111111"), CKR_PIN_INCORRECT);
    session = openSession();
    ASSERT_CKR(login(session), CKR_PIN_LOCKED) << "not by one that was refused";
    ASSERT_CKR(standard->C_CloseSession(session), CKR_OK);
    ASSERT_CKR(initToken(), CKR_OK);
    session = openSession();
    EXPECT_CKR(login(session), CKR_OK);
}

TEST_F(PinTries, AreNotGivenAnewByAnInitialisationThatIsTakenBack)
{
    lockPin();
    ASSERT_CKR(standard->C_CloseSession(session), CKR_OK);
    std::filesystem::create_directory(tokenFolder() / "token.kept.new"); // where the new PIN's copy would be written
    ASSERT_CKR(initToken(), CKR_DEVICE_MEMORY);
    session = openSession();
    EXPECT_CKR(login(session), CKR_PIN_LOCKED);
}

TEST_F(PinTries, AreANumberOrRefused)
{
    EXPECT_CKR(standard->C_Finalize(nullptr), CKR_OK);
    for (const char* limit : {"0", "-1", "100", "three", "3 ", "0x3", "99999999999999999999"}) {
        setenv(variable, limit, 1);
        testing::internal::CaptureStderr();
        EXPECT_CKR(standard->C_Initialize(nullptr), CKR_ARGUMENTS_BAD) << limit;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "vornix_softtoken: VORNIX_SOFTTOKEN_PIN_TRIES must be a whole number from 1 to 99\n");
    }
    setenv(variable, "", 1);
    EXPECT_CKR(standard->C_Initialize(nullptr), CKR_OK);
}

} // namespace
} // namespace endtoend
