// SPDX-License-Identifier: Apache-2.0
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
        EXPECT_CKR(standard->C_GetSlotInfo(onlySlot(), &info), CKR_OK);
        return info;
    }

    CK_TOKEN_INFO tokenInfo() const
    {
        CK_TOKEN_INFO info = {};
        EXPECT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_OK);
        return info;
    }
};

TEST_F(Reader, IsTheOnlyOneWithAndWithoutAToken)
{
    for (const CK_BBOOL tokenPresent : {CK_FALSE, CK_TRUE}) {
        CK_ULONG count = 0;
        EXPECT_CKR(standard->C_GetSlotList(tokenPresent, nullptr, &count), CKR_OK);
        EXPECT_EQ(count, 1U);
    }
    EXPECT_CKR(initToken(), CKR_OK);
    CK_ULONG count = 0;
    EXPECT_CKR(standard->C_GetSlotList(CK_FALSE, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 1U);
}

TEST_F(Reader, KeepsSlotAndNameWhenTheTokenIsInitialised)
{
    const CK_SLOT_ID before = onlySlot();
    EXPECT_EQ(text(slotInfo().slotDescription), readerName);
    EXPECT_CKR(initToken(), CKR_OK);
    EXPECT_EQ(onlySlot(), before);
    EXPECT_EQ(text(slotInfo().slotDescription), readerName);
    EXPECT_CKR(initToken(), CKR_OK);
    EXPECT_EQ(onlySlot(), before);
}

TEST_F(Reader, HasAManufacturerThatBeginsNoReaderName)
{
    const std::string manufacturer = text(slotInfo().manufacturerID);
    ASSERT_FALSE(manufacturer.empty());
    EXPECT_NE(std::string(readerName).rfind(manufacturer, 0), 0U);
    EXPECT_NE(manufacturer.rfind(readerName, 0), 0U);
}

TEST_F(Reader, IsOfAModuleThatTellsItselfFromSoftHsm)
{
    CK_INFO info = {};
    EXPECT_CKR(standard->C_GetInfo(&info), CKR_OK);
    EXPECT_EQ(text(info.libraryDescription), "Vornix software token");
    EXPECT_EQ(std::to_string(info.libraryVersion.major) + '.' + std::to_string(info.libraryVersion.minor), VERSION);
    EXPECT_EQ(text(info.manufacturerID), text(slotInfo().manufacturerID));
}

TEST_F(Reader, HoldsATokenThatTellsItselfFromSoftHsm)
{
    for (const bool initialised : {false, true}) {
        if (initialised) {
            EXPECT_CKR(initToken(), CKR_OK);
        }
        EXPECT_EQ(text(tokenInfo().manufacturerID), text(slotInfo().manufacturerID));
        EXPECT_EQ(text(tokenInfo().model), "software token");
    }
}

TEST_F(Reader, RefusesAnotherSlot)
{
    CK_SLOT_INFO info;
    EXPECT_CKR(standard->C_GetSlotInfo(onlySlot() + 1, &info), CKR_SLOT_ID_INVALID);
    CK_SESSION_HANDLE session = 0;
    EXPECT_CKR(standard->C_OpenSession(0, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_SLOT_ID_INVALID);
}

TEST_F(Reader, RefusesAListWithoutRoom)
{
    CK_SLOT_ID slot = 77;
    CK_ULONG count = 0;
    EXPECT_CKR(standard->C_GetSlotList(CK_FALSE, &slot, &count), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(slot, 77U);
}

TEST_F(Reader, ShowsABlankTokenAsUninitialised)
{
    EXPECT_FALSE(tokenInfo().flags & CKF_TOKEN_INITIALIZED);
    EXPECT_CKR(initToken(), CKR_OK);
    EXPECT_TRUE(tokenInfo().flags & CKF_TOKEN_INITIALIZED);
    EXPECT_TRUE(tokenInfo().flags & CKF_USER_PIN_INITIALIZED);
    EXPECT_EQ(text(tokenInfo().label), "VORNIX Token");
}

TEST_F(Reader, OpensNoSessionOnABlankToken)
{
    CK_SESSION_HANDLE session = 0;
    EXPECT_CKR(standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session),
               CKR_TOKEN_NOT_RECOGNIZED);
}

TEST_F(Reader, NamesItsSlotInSessions)
{
    EXPECT_CKR(initToken(), CKR_OK);
    CK_SESSION_INFO info = {};
    EXPECT_CKR(standard->C_GetSessionInfo(openSession(), &info), CKR_OK);
    EXPECT_EQ(info.slotID, onlySlot());
}

TEST_F(Reader, ClosesAllItsSessions)
{
    EXPECT_CKR(initToken(), CKR_OK);
    const CK_SESSION_HANDLE session = openSession();
    EXPECT_CKR(standard->C_CloseAllSessions(onlySlot() + 1), CKR_SLOT_ID_INVALID);
    EXPECT_CKR(standard->C_CloseAllSessions(onlySlot()), CKR_OK);
    EXPECT_CKR(standard->C_CloseSession(session), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(Reader, LetsTheUserInWithTheDefaultPinAfterInitialisation)
{
    EXPECT_CKR(initToken(), CKR_OK);
    const CK_SESSION_HANDLE session = openSession();
    EXPECT_CKR(login(session, "00000000"), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session), CKR_OK);
}

TEST_F(Reader, InitialisesAgainOnlyWithTheSamePuk)
{
    EXPECT_CKR(initToken(), CKR_OK);
    EXPECT_CKR(initToken("11111111"), CKR_PIN_INCORRECT);
    EXPECT_CKR(initToken(), CKR_OK);
}

TEST_F(Reader, KeepsATokenInUseFromBeingInitialised)
{
    EXPECT_CKR(initToken(), CKR_OK);
    openSession();
    EXPECT_CKR(initToken(), CKR_SESSION_EXISTS);
}

TEST_F(Reader, ListsGostKeyGenerationAmongItsMechanisms)
{
    CK_ULONG count = 0;
    EXPECT_CKR(standard->C_GetMechanismList(onlySlot(), nullptr, &count), CKR_OK);
    std::vector<CK_MECHANISM_TYPE> mechanisms(count);
    CK_ULONG tooFew = count - 1;
    EXPECT_CKR(standard->C_GetMechanismList(onlySlot(), mechanisms.data(), &tooFew), CKR_BUFFER_TOO_SMALL);
    EXPECT_CKR(standard->C_GetMechanismList(onlySlot(), mechanisms.data(), &count), CKR_OK);
    for (const CK_MECHANISM_TYPE expected : {CKM_GOSTR3410_KEY_PAIR_GEN, CKM_RSA_PKCS_KEY_PAIR_GEN}) {
        EXPECT_EQ(std::count(mechanisms.begin(), mechanisms.end(), expected), 1);
        CK_MECHANISM_INFO info = {};
        EXPECT_CKR(standard->C_GetMechanismInfo(onlySlot(), expected, &info), CKR_OK);
        EXPECT_TRUE(info.flags & CKF_GENERATE_KEY_PAIR);
        EXPECT_GT(info.ulMinKeySize, 0U);
        EXPECT_LE(info.ulMinKeySize, info.ulMaxKeySize);
    }
}

TEST_F(Reader, HasEveryFunctionOfTheExtendedList)
{
    CK_TOVR_FUNCTION_LIST list;
    std::memcpy(&list, standard, sizeof list);
    std::array<void*, sizeof list / sizeof(void*)> words;
    std::memcpy(words.data(), &list, sizeof list);
    EXPECT_EQ(std::find(words.begin() + 1, words.end(), nullptr), words.end());
    EXPECT_EQ(list.standard.version.major, 2);
    EXPECT_EQ(list.standard.version.minor, 40);

    CK_FUNCTION_LIST* again = nullptr;
    EXPECT_CKR(standard->C_GetFunctionList(&again), CKR_OK);
    EXPECT_EQ(again, standard);
}

} // namespace
} // namespace endtoend
