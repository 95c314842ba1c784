// The reader that callers see, and the token's standard functions as far as the software token changes them.
#include "tests/endtoend/softtoken/soft_token.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace endtoend {
namespace {

template <std::size_t size>
std::string text(const CK_UTF8CHAR (&field)[size])
{
    std::string value(field, field + size);
    value.erase(value.find_last_not_of(' ') + 1);
    return value;
}

class Reader : public BlankTokenTest {
protected:
    CK_SLOT_INFO slotInfo() const
    {
        CK_SLOT_INFO info = {};
        EXPECT_CKR(CKR_OK, standard->C_GetSlotInfo(onlySlot(), &info));
        return info;
    }

    CK_TOKEN_INFO tokenInfo() const
    {
        CK_TOKEN_INFO info = {};
        EXPECT_CKR(CKR_OK, standard->C_GetTokenInfo(onlySlot(), &info));
        return info;
    }
};

TEST_F(Reader, IsTheOnlyOneWithAndWithoutAToken)
{
    for (const CK_BBOOL tokenPresent : {CK_FALSE, CK_TRUE}) {
        CK_ULONG count = 0;
        EXPECT_CKR(CKR_OK, standard->C_GetSlotList(tokenPresent, nullptr, &count));
        EXPECT_EQ(1U, count);
    }
    EXPECT_CKR(CKR_OK, initToken());
    CK_ULONG count = 0;
    EXPECT_CKR(CKR_OK, standard->C_GetSlotList(CK_FALSE, nullptr, &count));
    EXPECT_EQ(1U, count);
}

TEST_F(Reader, KeepsSlotAndNameWhenTheTokenIsInitialised)
{
    const CK_SLOT_ID before = onlySlot();
    EXPECT_EQ(readerName, text(slotInfo().slotDescription));
    EXPECT_CKR(CKR_OK, initToken());
    EXPECT_EQ(before, onlySlot());
    EXPECT_EQ(readerName, text(slotInfo().slotDescription));
    EXPECT_CKR(CKR_OK, initToken());
    EXPECT_EQ(before, onlySlot());
}

TEST_F(Reader, HasAManufacturerThatBeginsNoReaderName)
{
    const std::string manufacturer = text(slotInfo().manufacturerID);
    ASSERT_FALSE(manufacturer.empty());
    EXPECT_NE(0U, std::string(readerName).rfind(manufacturer, 0));
    EXPECT_NE(0U, manufacturer.rfind(readerName, 0));
}

TEST_F(Reader, IsOfAModuleThatTellsItselfFromSoftHsm)
{
    CK_INFO info = {};
    EXPECT_CKR(CKR_OK, standard->C_GetInfo(&info));
    EXPECT_EQ("Vornix software token", text(info.libraryDescription));
    EXPECT_EQ(VERSION, std::to_string(info.libraryVersion.major) + '.' + std::to_string(info.libraryVersion.minor));
    EXPECT_EQ(text(slotInfo().manufacturerID), text(info.manufacturerID));
}

TEST_F(Reader, HoldsATokenThatTellsItselfFromSoftHsm)
{
    for (const bool initialised : {false, true}) {
        if (initialised) {
            EXPECT_CKR(CKR_OK, initToken());
        }
        EXPECT_EQ(text(slotInfo().manufacturerID), text(tokenInfo().manufacturerID));
        EXPECT_EQ("software token", text(tokenInfo().model));
    }
}

TEST_F(Reader, RefusesAnotherSlot)
{
    CK_SLOT_INFO info;
    EXPECT_CKR(CKR_SLOT_ID_INVALID, standard->C_GetSlotInfo(onlySlot() + 1, &info));
    CK_SESSION_HANDLE session = 0;
    EXPECT_CKR(CKR_SLOT_ID_INVALID, standard->C_OpenSession(0, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
}

TEST_F(Reader, RefusesAListWithoutRoom)
{
    CK_SLOT_ID slot = 77;
    CK_ULONG count = 0;
    EXPECT_CKR(CKR_BUFFER_TOO_SMALL, standard->C_GetSlotList(CK_FALSE, &slot, &count));
    EXPECT_EQ(1U, count);
    EXPECT_EQ(77U, slot);
}

TEST_F(Reader, ShowsABlankTokenAsUninitialised)
{
    EXPECT_FALSE(tokenInfo().flags & CKF_TOKEN_INITIALIZED);
    EXPECT_CKR(CKR_OK, initToken());
    EXPECT_TRUE(tokenInfo().flags & CKF_TOKEN_INITIALIZED);
    EXPECT_TRUE(tokenInfo().flags & CKF_USER_PIN_INITIALIZED);
    EXPECT_EQ("VORNIX Token", text(tokenInfo().label));
}

TEST_F(Reader, OpensNoSessionOnABlankToken)
{
    CK_SESSION_HANDLE session = 0;
    EXPECT_CKR(CKR_TOKEN_NOT_RECOGNIZED,
               standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session));
}

TEST_F(Reader, NamesItsSlotInSessions)
{
    EXPECT_CKR(CKR_OK, initToken());
    CK_SESSION_INFO info = {};
    EXPECT_CKR(CKR_OK, standard->C_GetSessionInfo(openSession(), &info));
    EXPECT_EQ(onlySlot(), info.slotID);
}

TEST_F(Reader, ClosesAllItsSessions)
{
    EXPECT_CKR(CKR_OK, initToken());
    const CK_SESSION_HANDLE session = openSession();
    EXPECT_CKR(CKR_SLOT_ID_INVALID, standard->C_CloseAllSessions(onlySlot() + 1));
    EXPECT_CKR(CKR_OK, standard->C_CloseAllSessions(onlySlot()));
    EXPECT_CKR(CKR_SESSION_HANDLE_INVALID, standard->C_CloseSession(session));
}

TEST_F(Reader, LetsTheUserInWithTheDefaultPinAfterInitialisation)
{
    EXPECT_CKR(CKR_OK, initToken());
    const CK_SESSION_HANDLE session = openSession();
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, "00000000"));
    EXPECT_CKR(CKR_OK, login(session));
}

TEST_F(Reader, InitialisesAgainOnlyWithTheSamePuk)
{
    EXPECT_CKR(CKR_OK, initToken());
    EXPECT_CKR(CKR_PIN_INCORRECT, initToken("11111111"));
    EXPECT_CKR(CKR_OK, initToken());
}

TEST_F(Reader, KeepsATokenInUseFromBeingInitialised)
{
    EXPECT_CKR(CKR_OK, initToken());
    openSession();
    EXPECT_CKR(CKR_SESSION_EXISTS, initToken());
}

TEST_F(Reader, ListsGostKeyGenerationAmongItsMechanisms)
{
    CK_ULONG count = 0;
    EXPECT_CKR(CKR_OK, standard->C_GetMechanismList(onlySlot(), nullptr, &count));
    std::vector<CK_MECHANISM_TYPE> mechanisms(count);
    CK_ULONG tooFew = count - 1;
    EXPECT_CKR(CKR_BUFFER_TOO_SMALL, standard->C_GetMechanismList(onlySlot(), mechanisms.data(), &tooFew));
    EXPECT_CKR(CKR_OK, standard->C_GetMechanismList(onlySlot(), mechanisms.data(), &count));
    for (const CK_MECHANISM_TYPE expected : {CKM_GOSTR3410_KEY_PAIR_GEN, CKM_RSA_PKCS_KEY_PAIR_GEN}) {
        EXPECT_EQ(1, std::count(mechanisms.begin(), mechanisms.end(), expected));
        CK_MECHANISM_INFO info = {};
        EXPECT_CKR(CKR_OK, standard->C_GetMechanismInfo(onlySlot(), expected, &info));
        EXPECT_TRUE(info.flags & CKF_GENERATE_KEY_PAIR);
        EXPECT_LT(0U, info.ulMinKeySize);
        EXPECT_LE(info.ulMinKeySize, info.ulMaxKeySize);
    }
}

TEST_F(Reader, HasEveryFunctionOfTheExtendedList)
{
    CK_TOVR_FUNCTION_LIST list;
    std::memcpy(&list, standard, sizeof list);
    std::array<void*, sizeof list / sizeof(void*)> words;
    std::memcpy(words.data(), &list, sizeof list);
    EXPECT_EQ(words.end(), std::find(words.begin() + 1, words.end(), nullptr));
    EXPECT_EQ(2, list.standard.version.major);
    EXPECT_EQ(40, list.standard.version.minor);

    CK_FUNCTION_LIST* again = nullptr;
    EXPECT_CKR(CKR_OK, standard->C_GetFunctionList(&again));
    EXPECT_EQ(standard, again);
}

} // namespace
} // namespace endtoend
