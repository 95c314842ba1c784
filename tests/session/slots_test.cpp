// SPDX-License-Identifier: Apache-2.0
// What is told of a module's slots and of the PC/SC service's readers.
#include "tests/session/scene.h"
#include "tests/support/watched_heap.h"

namespace {

using namespace scripted;
using testing::ElementsAre;

class Slots : public SessionTest {
protected:
    void SetUp() override { load(); }

    auto slots(bool tokens = true)
    {
        return fieldsOf(fetch(natives.slots, loaded, jboolean(tokens ? JNI_TRUE : JNI_FALSE)));
    }

    const std::string flags = numberField(CKF_TOKEN_PRESENT | CKF_REMOVABLE_DEVICE | CKF_HW_SLOT);
    const std::string first = "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n";
};

TEST_F(Slots, AreDescribedWithTheirTokens)
{
    EXPECT_THAT(slots(), ElementsAre(numberField(7), "Scripted Reader 0", "Scripted Works", flags, numberField(CKR_OK),
                                     "Scripted Token", "Scripted Works", "Scripted Model", "0123456789abcdef",
                                     numberField(0x40d)));
    EXPECT_EQ(story, stories::slotFound + "C_GetTokenInfo(slot 7): CKR_OK\n");
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Slots, AreDescribedWithoutAskingForTokens)
{
    EXPECT_THAT(slots(false), ElementsAre(numberField(7), "Scripted Reader 0", "Scripted Works", flags,
                                          numberField(CKR_TOKEN_NOT_PRESENT), "", "", "", "", numberField(0)));
    EXPECT_EQ(story, stories::slotFound);
}

TEST_F(Slots, WithoutATokenAreNotAskedForOne)
{
    module.C_GetSlotInfo = [](CK_SLOT_ID, CK_SLOT_INFO* info) {
        *info = {};
        return CKR_OK;
    };
    const auto fields = slots();
    ASSERT_EQ(fields.size(), 10u);
    EXPECT_EQ(fields[4], numberField(CKR_TOKEN_NOT_PRESENT));
    EXPECT_EQ(story, stories::slotFound);
}

TEST_F(Slots, TellTheCodeOfATokenThatDoesNotAnswer)
{
    module.C_GetTokenInfo = [](CK_SLOT_ID, CK_TOKEN_INFO* info) {
        info->label[0] = 'x';
        info->flags = 1;
        return CKR_DEVICE_REMOVED;
    };
    const auto fields = slots();
    ASSERT_EQ(fields.size(), 10u);
    EXPECT_EQ(fields[4], numberField(CKR_DEVICE_REMOVED));
    EXPECT_EQ(fields[5] + fields[9], numberField(0));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Slots, ThatCannotBeReadAreToldAndLeftOut)
{
    module.slots = {{7, "First"}, unreadable({8, "Second"}, CKR_DEVICE_ERROR), {9, "Third"}};
    const auto fields = slots();
    ASSERT_EQ(fields.size(), 20u);
    EXPECT_EQ(fields[1] + fields[11], "FirstThird");
    EXPECT_EQ(told + thrown, "C_GetSlotInfo failed. Code: 48\n");
}

TEST_F(Slots, MayBeNone)
{
    module.slots.clear();
    EXPECT_THAT(slots(), ElementsAre());
    EXPECT_EQ(story + told + thrown, "C_GetSlotList(token present 0, list null, count 0) -> count 0: CKR_OK\n");
}

TEST_F(Slots, ThatCameBetweenTheTwoCallsAreThereToo)
{
    module.C_GetSlotList = [this, list = module.C_GetSlotList](CK_BBOOL present, CK_SLOT_ID* ids, CK_ULONG* count) {
        const CK_RV code = list(present, ids, count);
        if (ids == nullptr && module.slots.size() == 1)
            module.slots.push_back({8, "Later"});
        return code;
    };
    EXPECT_EQ(slots().size(), 20u);
    EXPECT_EQ(story, first + "C_GetSlotList(token present 0, list {0}, count 1): CKR_BUFFER_TOO_SMALL\n"
                             "C_GetSlotList(token present 0, list null, count 0) -> count 2: CKR_OK\n"
                             "C_GetSlotList(token present 0, list {0, 0}, count 2) -> count 2: CKR_OK\n"
                             "C_GetSlotInfo(slot 7): CKR_OK\nC_GetTokenInfo(slot 7): CKR_OK\n"
                             "C_GetSlotInfo(slot 8): CKR_OK\nC_GetTokenInfo(slot 8): CKR_OK\n");
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Slots, ThatWentBetweenTheTwoCallsAreNotAskedFor)
{
    module.slots = {{7, "First"}, {8, "Second"}};
    module.C_GetSlotList = [this, list = module.C_GetSlotList](CK_BBOOL present, CK_SLOT_ID* ids, CK_ULONG* count) {
        const CK_RV code = list(present, ids, count);
        module.slots.resize(1, {7, ""});
        return code;
    };
    EXPECT_EQ(slots().size(), 10u);
    EXPECT_THAT(story, testing::Not(testing::HasSubstr("C_GetSlotInfo(slot 0)")));
}

TEST_F(Slots, ThatNeverFitAreAFailureAtLast)
{
    module.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID* ids, CK_ULONG* count) {
        *count = 1;
        return ids == nullptr ? CKR_OK : CKR_BUFFER_TOO_SMALL;
    };
    EXPECT_EQ(fetch(natives.slots, loaded, jboolean{JNI_TRUE}), std::nullopt);
    EXPECT_EQ(told, failure(CKR_BUFFER_TOO_SMALL, "C_GetSlotList"));
    EXPECT_EQ(thrown, "NativeFailure");
}

TEST_F(Slots, MoreThanMemoryHoldsAreAnOutOfMemoryError)
{
    const AllocationLimit limit(std::size_t{1} << 40); // a sanitizer would end the program
    for (const CK_ULONG many : {CK_ULONG{1} << 55, ~CK_ULONG{0}}) {
        module.C_GetSlotList = [=](CK_BBOOL, CK_SLOT_ID*, CK_ULONG* count) {
            *count = many;
            return CKR_OK;
        };
        EXPECT_EQ(fetch(natives.slots, loaded, jboolean{JNI_TRUE}), std::nullopt);
        EXPECT_EQ(told, "");
        EXPECT_EQ(thrown, "java/lang/OutOfMemoryError: native memory");
    }
}

class Readers : public SessionTest {
protected:
    const std::string established = "SCardEstablishContext(scope 0, null, null) -> context 81: 0\n";
    const std::string released = "SCardReleaseContext(context 81): 0\n";
};

class WatchedReaders : public Readers {
protected:
    /// Waits for 50 ms with this knowledge of the readers.
    auto await(const std::vector<std::string>& names, const StrictJniEnv::Longs& states)
    {
        std::vector<Bytes> arrays;
        for (const std::string& name : names)
            arrays.push_back(bytesOf(name));
        return fetch(natives.awaitReaderChange, java.byteArrays(arrays), java.longs(states), jlong{50});
    }

    static std::string waited(const std::string& what, LONG code)
    {
        return "SCardGetStatusChange(context 81, " + what + "): " + std::to_string(code) + "\n";
    }
};

TEST_F(WatchedReaders, AreThoseOfTheService)
{
    pcsc.readers = {"First", "Second Reader"};
    EXPECT_THAT(fieldsOf(await({}, {})), ElementsAre("First", numberField(0), "", "Second Reader", numberField(0), ""));
    EXPECT_EQ(told + thrown, "");
    EXPECT_THAT(story, testing::StartsWith(established));
    EXPECT_THAT(story, testing::EndsWith(released));
}

TEST_F(WatchedReaders, MayBeNone)
{
    pcsc.readers.clear();
    EXPECT_THAT(fieldsOf(await({}, {})), ElementsAre());
    pcsc.listResult = SCARD_E_NO_READERS_AVAILABLE;
    EXPECT_THAT(fieldsOf(await({}, {})), ElementsAre());
    EXPECT_EQ(told + thrown, "");
}

TEST_F(WatchedReaders, MayOutgrowTheirListMeanwhile)
{
    pcsc.beforeNames = [this] { pcsc.readers = {"First", "Second"}; };
    pcsc.readers = {"First"};
    EXPECT_THAT(fieldsOf(await({}, {})), ElementsAre("First", numberField(0), "", "Second", numberField(0), ""));
    EXPECT_THAT(story, testing::HasSubstr(": " + std::to_string(SCARD_E_INSUFFICIENT_BUFFER) + "\n"));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(WatchedReaders, CannotBeListedWhereTheServiceFails)
{
    pcsc.listResult = SCARD_F_COMM_ERROR;
    EXPECT_EQ(await({}, {}), std::nullopt);
    EXPECT_THAT(story, testing::EndsWith(released));
    EXPECT_EQ(told, failure(0x80100013, "SCardListReaders"));
}

TEST_F(WatchedReaders, AreWaitedForWhereTheyAreAsKnown)
{
    pcsc.statusChange = [](SCARD_READERSTATE* states, DWORD) {
        states[0].dwEventState = SCARD_STATE_CHANGED | SCARD_STATE_PRESENT;
        states[0].cbAtr = 2;
        states[0].rgbAtr[0] = 0x3b;
        states[0].rgbAtr[1] = 0x01;
        return SCARD_S_SUCCESS;
    };
    EXPECT_THAT(fieldsOf(await({"Scripted Reader 0"}, {SCARD_STATE_EMPTY})),
                ElementsAre("Scripted Reader 0", numberField(SCARD_STATE_PRESENT), "\x3b\x01"));
    EXPECT_THAT(story, testing::HasSubstr(waited(R"(timeout 50, {"Scripted Reader 0" 0x10, "\\?PnP?\Notification" )"
                                                 "0x10000}",
                                                 0)));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(WatchedReaders, AreTheSameWhenTheTimeIsOver)
{
    EXPECT_THAT(fieldsOf(await({"Scripted Reader 0"}, {SCARD_STATE_EMPTY})),
                ElementsAre("Scripted Reader 0", numberField(0), ""));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(WatchedReaders, AreNotWaitedForWhereTheyAreNotAsKnown)
{
    (void)await({}, {});
    EXPECT_THAT(story, testing::HasSubstr("timeout 0, {\"Scripted Reader 0\" 0x0, "));
    (void)await({"Another"}, {SCARD_STATE_EMPTY});
    EXPECT_THAT(story, testing::HasSubstr("timeout 0, {\"Scripted Reader 0\" 0x0, "));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(WatchedReaders, MayGoMeanwhile)
{
    pcsc.readers = {"First", "Second"};
    pcsc.statusChange = [this](SCARD_READERSTATE*, DWORD) {
        const bool both = pcsc.readers.size() == 2;
        pcsc.readers = {"First"};
        return both ? SCARD_E_UNKNOWN_READER : SCARD_S_SUCCESS;
    };
    EXPECT_THAT(fieldsOf(await({"First", "Second"}, {0, 0})), ElementsAre("First", numberField(0), ""));
    EXPECT_EQ(told + thrown, "");
}

TEST_F(WatchedReaders, CannotBeWaitedForWhereTheServiceFails)
{
    pcsc.statusChange = [](auto...) { return SCARD_E_UNKNOWN_READER; };
    EXPECT_EQ(await({}, {}), std::nullopt);
    EXPECT_EQ(told, failure(0x80100009, "SCardGetStatusChange"));
    EXPECT_THAT(story, testing::EndsWith(released));
    pcsc.establishResult = SCARD_E_NO_SERVICE;
    EXPECT_EQ(await({}, {}), std::nullopt);
    EXPECT_EQ(told, failure(0x8010001d, "SCardEstablishContext"));
}

TEST_F(Readers, ArePoweredDown)
{
    call(natives.resetReader, bytes("Scripted Reader 0"));
    EXPECT_EQ(story,
              established +
                  "SCardConnect(context 81, reader \"Scripted Reader 0\", share mode 2, protocols 3) -> card 91: "
                  "0\nSCardDisconnect(card 91, disposition 2): 0\n" +
                  released);
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Readers, ThatCannotBePoweredDownTellWhatFailedFirst)
{
    pcsc.disconnectResult = SCARD_E_INVALID_HANDLE;
    const std::string line = "Failed to diconnect reader R. Error code: 2148532227\n";
    call(natives.resetReader, bytes("R"));
    EXPECT_EQ(told, failure(0x80100003, "SCardDisconnect", line));
    pcsc.connectResult = SCARD_E_NO_SMARTCARD;
    call(natives.resetReader, bytes("R"));
    EXPECT_EQ(told, failure(0x8010000c, "SCardConnect", line));
    pcsc.establishResult = SCARD_E_NO_SERVICE;
    call(natives.resetReader, bytes("R"));
    EXPECT_EQ(told, failure(0x8010001d, "SCardEstablishContext", "Failed to establish context: 2148532253\n"));
    EXPECT_EQ(thrown, "NativeFailure");
}

} // namespace
