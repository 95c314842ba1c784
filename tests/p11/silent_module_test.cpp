// SPDX-License-Identifier: Apache-2.0
// A module that answers CKR_OK and leaves an output unwritten: the library meets its own zeros there, never what an
// earlier call or other code left behind.
#include "tests/p11/listing_test.h"

using namespace scripted;
using namespace stories;

namespace {

constexpr char soil = 'x';

/// Leaves `soil` where the next call's variables will lie.
[[gnu::noinline]] void soilStack()
{
    volatile char stack[1 << 14];
    for (volatile char& byte : stack)
        byte = soil;
}

class SilentModuleTest : public ObjectListingTest {
protected:
    template <class Job>
    std::string storyOnSoiledStack(Job job)
    {
        return story([&] {
            soilStack();
            rv = job();
        });
    }
};

TEST_F(SilentModuleTest, SlotWithoutADescriptionMatchesNoName)
{
    module.C_GetSlotInfo = answering(CKR_OK);
    const std::string name(80, soil);
    CK_SLOT_ID found = 99;
    EXPECT_EQ(storyOnSoiledStack([&] { return token.GetSlotIDByTerminalName(name.c_str(), &found); }),
              "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n"
              "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK\n"
              "C_GetSlotInfo(slot 7): CKR_OK\n"
              "| Terminal not found\n");
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(found, 99);
}

TEST_F(SilentModuleTest, SlotWithoutADescriptionIsNotTakenForTheOneBefore)
{
    module.slots = {{3, "Reader A"}, {5, "Reader B"}};
    module.C_GetSlotInfo = [info = module.C_GetSlotInfo](CK_SLOT_ID id, CK_SLOT_INFO* output) {
        return id == 3 ? info(id, output) : CKR_OK;
    };
    CK_SLOT_ID found = 99;
    EXPECT_CKR(token.GetSlotIDByTerminalName("Reader A", &found), CKR_OK);
    EXPECT_EQ(found, 3);
}

TEST_F(SilentModuleTest, TokenWithoutADescriptionHasZerosInEveryField)
{
    module.C_GetTokenInfo = answering(CKR_OK);
    Bytes label;
    Bytes manufacturer;
    Bytes model;
    Bytes serialNumber;
    std::string flags;
    storyOnSoiledStack([&] { return token.GetTokenInfo(slotId, label, manufacturer, model, serialNumber, flags); });
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(label, Bytes(32, 0));
    EXPECT_EQ(manufacturer, Bytes(32, 0));
    EXPECT_EQ(model, Bytes(16, 0));
    EXPECT_EQ(serialNumber, Bytes(16, 0));
    EXPECT_EQ(flags, "0000000000000000");
}

TEST_F(SilentModuleTest, SessionWithoutAHandleIsZero)
{
    module.C_OpenSession = answering(CKR_OK);
    EXPECT_EQ(storyOnSoiledStack([&] { return token.CleanCard(slotId, pin.data(), pin.size()); }),
              "C_OpenSession(slot 7, flags 0x6, application null, notify null) -> session 0: CKR_OK\n"
              "C_Login(session 0, CKU_USER, PIN \"12345678\" [8]): CKR_SESSION_HANDLE_INVALID\n"
              "C_CloseSession(session 0): CKR_SESSION_HANDLE_INVALID\n"
              "| Login failed. Code: 179\n");
}

TEST_F(SilentModuleTest, SearchWithoutACountFindsNothing)
{
    module.C_FindObjects = answering(CKR_OK);
    EXPECT_EQ(storyOnSoiledStack([&] { return token.ListObjects(slotId, pin.data(), pin.size(), records); }),
              inSession(allFound({})));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_TRUE(records.empty());
}

TEST_F(SilentModuleTest, CountOfTheStepBeforeDoesNotKeepAListingGoing)
{
    module.add(dataObject("note"));
    module.C_FindObjects = [find = module.C_FindObjects, steps = 0](auto session, auto* handles, auto room,
                                                                    auto* count) mutable -> CK_RV {
        if (++steps == 1)
            return find(session, handles, room, count);
        return steps < 10 ? CKR_OK : CKR_DEVICE_ERROR; // which ends a listing that goes on
    };
    list();
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(records, (Records{{"data", "note", "", ""}}));
}

TEST_F(SilentModuleTest, ObjectWithoutAHandleIsZero)
{
    module.C_FindObjects = [](auto, auto*, auto, CK_ULONG* count) -> CK_RV {
        *count = 1;
        return CKR_OK;
    };
    Bytes out;
    EXPECT_EQ(storyOnSoiledStack(
                  [&] { return token.GetX509Certificate(slotId, pin.data(), pin.size(), "alice", nullptr, 0, out); }),
              inSession(searchStarted("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5]}") + next("0") +
                        read(0, "{CKA_VALUE null [0]}") +
                        ": CKR_OBJECT_HANDLE_INVALID\n"
                        "| C_GetAttributeValue failed for 0. Code: 130\n" +
                        searchEnded));
    EXPECT_CKR(rv, CKR_OBJECT_HANDLE_INVALID);
}

TEST_F(SilentModuleTest, MessageWithoutALengthIsEmpty)
{
    module.C_TOVR_pkcs7Sign = answering(CKR_OK);
    Bytes signature = {0xee};
    storyOnSoiledStack([&] {
        return token.pkcs7Sign(slotId, pin.data(), pin.size(), nullptr, 0, nullptr, 0, nullptr, 0, {}, 0, signature);
    });
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature, Bytes{});
}

} // namespace
