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
        EXPECT_CKR(CKR_OK, standard->C_Finalize(nullptr));
        ASSERT_CKR(CKR_OK, standard->C_Initialize(nullptr));
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
        EXPECT_CKR(CKR_OK, standard->C_GetTokenInfo(onlySlot(), &info));
        return info.flags & (CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED);
    }

    void lockPin()
    {
        startAgain("1");
        ASSERT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
        ASSERT_CKR(CKR_PIN_LOCKED, login(session));
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
        EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    EXPECT_EQ(low, shown());
    EXPECT_CKR(CKR_OK, login(session));
    EXPECT_EQ(none, shown());
}

TEST_F(PinTries, LockThePinWhenTheyAreUsedUp)
{
    startAgain("3");
    EXPECT_EQ(none, shown());
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    EXPECT_EQ(low, shown());
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    EXPECT_EQ(final, shown());
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    EXPECT_EQ(locked, shown());
    EXPECT_CKR(CKR_PIN_LOCKED, login(session));
    EXPECT_CKR(CKR_PIN_LOCKED, changePin(userPin, otherPin));
}

TEST_F(PinTries, BeginAnewAfterTheRightPin)
{
    startAgain("2");
    for (int i = 0; i < 3; ++i) {
        EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
        EXPECT_EQ(final, shown());
        EXPECT_CKR(CKR_OK, login(session));
        EXPECT_EQ(none, shown());
        EXPECT_CKR(CKR_OK, standard->C_Logout(session));
    }
}

TEST_F(PinTries, AreUsedUpByAPinChangeToo)
{
    startAgain("2");
    EXPECT_CKR(CKR_PIN_INCORRECT, changePin(wrong, otherPin));
    EXPECT_CKR(CKR_OK, changePin(userPin, userPin));
    EXPECT_EQ(none, shown());
    EXPECT_CKR(CKR_PIN_INCORRECT, changePin(wrong, otherPin));
    EXPECT_CKR(CKR_PIN_INCORRECT, changePin(wrong, otherPin));
    EXPECT_CKR(CKR_PIN_LOCKED, login(session));
}

TEST_F(PinTries, AreNotUsedUpWhereNoPinWasJudged)
{
    startAgain("1");
    EXPECT_CKR(CKR_PIN_LEN_RANGE, changePin(userPin, "1"));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, standard->C_Login(session, CKU_USER, nullptr, 0));
    EXPECT_CKR(CKR_OK, login(session));
    EXPECT_CKR(CKR_USER_ALREADY_LOGGED_IN, login(session, wrong));
    EXPECT_CKR(CKR_OK, standard->C_Logout(session));
    EXPECT_CKR(CKR_OK, login(session));
}

TEST_F(PinTries, AreCountedFromOneLifeToTheNext)
{
    startAgain("3");
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    startAgain("3");
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    startAgain("3");
    EXPECT_EQ(final, shown());
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    startAgain("3");
    EXPECT_CKR(CKR_PIN_LOCKED, login(session));
}

TEST_F(PinTries, OfBeforeALowerLimitCount)
{
    startAgain("3");
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, wrong));
    startAgain("2");
    EXPECT_CKR(CKR_PIN_LOCKED, login(session));
    EXPECT_EQ(locked, shown());
}

TEST_F(PinTries, AreTheUsersAlone)
{
    startAgain("1");
    for (int i = 0; i < 3; ++i)
        EXPECT_CKR(CKR_PIN_INCORRECT, loginOfficer(wrong));
    EXPECT_CKR(CKR_OK, loginOfficer());
    EXPECT_CKR(CKR_PIN_INCORRECT, changePin(wrong, otherPin)) << "the security officer's own";
    EXPECT_CKR(CKR_OK, standard->C_Logout(session));
    EXPECT_CKR(CKR_OK, login(session));
}

TEST_F(PinTries, StayUsedUpWhereNoLimitIsAskedFor)
{
    lockPin();
    startAgain(nullptr);
    EXPECT_EQ(locked, shown());
    EXPECT_CKR(CKR_PIN_LOCKED, login(session));
}

TEST_F(PinTries, AreGivenAnewByTheSecurityOfficer)
{
    lockPin();
    ASSERT_CKR(CKR_OK, loginOfficer());
    std::string pin = otherPin;
    EXPECT_CKR(CKR_OK, standard->C_InitPIN(session, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()));
    EXPECT_CKR(CKR_OK, standard->C_Logout(session));
    EXPECT_EQ(CKF_USER_PIN_FINAL_TRY, shown()) << "of one";
    EXPECT_CKR(CKR_OK, login(session, otherPin));
}

TEST_F(PinTries, AreGivenAnewByAnInitialisation)
{
    lockPin();
    ASSERT_CKR(CKR_OK, standard->C_CloseSession(session));
    ASSERT_CKR(CKR_PIN_INCORRECT, initToken("11111111"));
    session = openSession();
    ASSERT_CKR(CKR_PIN_LOCKED, login(session)) << "not by one that was refused";
    ASSERT_CKR(CKR_OK, standard->C_CloseSession(session));
    ASSERT_CKR(CKR_OK, initToken());
    session = openSession();
    EXPECT_CKR(CKR_OK, login(session));
}

TEST_F(PinTries, AreANumberOrRefused)
{
    EXPECT_CKR(CKR_OK, standard->C_Finalize(nullptr));
    for (const char* limit : {"0", "-1", "100", "three", "3 ", "0x3", "99999999999999999999"}) {
        setenv(variable, limit, 1);
        testing::internal::CaptureStderr();
        EXPECT_CKR(CKR_ARGUMENTS_BAD, standard->C_Initialize(nullptr)) << limit;
        EXPECT_EQ("vornix_softtoken: VORNIX_SOFTTOKEN_PIN_TRIES must be a whole number from 1 to 99\n",
                  testing::internal::GetCapturedStderr());
    }
    setenv(variable, "", 1);
    EXPECT_CKR(CKR_OK, standard->C_Initialize(nullptr));
}

} // namespace
} // namespace endtoend
