// SPDX-License-Identifier: Apache-2.0
// Finding a slot by the name of its reader.
#include "tests/p11/wrapper_test.h"

#include <exception>
#include <ostream>
#include <utility>

using namespace scripted;

namespace {

const std::string counted = "C_GetSlotList(token present 0, list null, count 0)";

class SlotLookupTest : public WrapperTest {
protected:
    std::string lookUp(const char* name)
    {
        return story([&] { rv = token.GetSlotIDByTerminalName(name, &found); });
    }

    static constexpr CK_SLOT_ID untouched = 99;
    CK_SLOT_ID found = untouched;
};

TEST_F(SlotLookupTest, SelectsTheOnlyReader)
{
    EXPECT_EQ(lookUp("Scripted Reader 0"), counted + " -> count 1: CKR_OK\n" +
                                               "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK\n"
                                               "C_GetSlotInfo(slot 7): CKR_OK\n");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(found, 7);
}

TEST_F(SlotLookupTest, SelectsTheLastOfSeveralMatchesAndQueriesEverySlot)
{
    module.slots = {{3, "Reader A"}, {5, "Reader A 2"}, {4, "Reader B"}};
    EXPECT_EQ(lookUp("Reader A"), counted + " -> count 3: CKR_OK\n" +
                                      "C_GetSlotList(token present 0, list {0, 0, 0}, count 3) -> count 3: CKR_OK\n"
                                      "C_GetSlotInfo(slot 3): CKR_OK\n"
                                      "C_GetSlotInfo(slot 5): CKR_OK\n"
                                      "C_GetSlotInfo(slot 4): CKR_OK\n");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(found, 5);
}

TEST_F(SlotLookupTest, NullNameClearsTheSlotAndFails)
{
    EXPECT_EQ(lookUp(nullptr), "");
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(found, 0);
}

TEST_F(SlotLookupTest, NullNameIsNoticedBeforeTheMissingInitialisation)
{
    token.Finalize();
    transcript.clear();
    EXPECT_EQ(lookUp(nullptr), "");
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(found, 0);
}

TEST_F(SlotLookupTest, UninitialisedWrapperCallsNothing)
{
    token.Finalize();
    transcript.clear();
    EXPECT_EQ(lookUp("Scripted Reader 0"), "| Not Initialized\n");
    EXPECT_CKR(rv, CKR_GENERAL_ERROR);
    EXPECT_EQ(found, untouched);
}

TEST_F(SlotLookupTest, FailingCountEndsTheLookup)
{
    failNth(module.C_GetSlotList, 1, widestCode);
    EXPECT_EQ(lookUp("Scripted Reader 0"),
              counted + ": 0xffffffffffffffff\n| C_GetSlotList failed. Code: 18446744073709551615\n");
    EXPECT_CKR(rv, widestCode);
    EXPECT_EQ(found, untouched);
}

TEST_F(SlotLookupTest, ModuleWithoutSlotsSucceedsWithoutASlot)
{
    module.slots.clear();
    EXPECT_EQ(lookUp("Scripted Reader 0"), counted + " -> count 0: CKR_OK\n| C_GetSlotList failed. Code: 0\n");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(found, untouched);
}

TEST_F(SlotLookupTest, ReaderThatAppearsInBetweenEndsTheLookup)
{
    module.C_GetSlotList = [this, list = module.C_GetSlotList](CK_BBOOL present, CK_SLOT_ID* slots, CK_ULONG* count) {
        if (slots != nullptr)
            module.slots.push_back({8, "Scripted Reader 1"});
        return list(present, slots, count);
    };
    EXPECT_EQ(lookUp("Scripted Reader 0"),
              counted + " -> count 1: CKR_OK\n" +
                  "C_GetSlotList(token present 0, list {0}, count 1): CKR_BUFFER_TOO_SMALL\n"
                  "| C_GetSlotList failed. Code: 336\n");
    EXPECT_CKR(rv, CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(found, untouched);
}

TEST_F(SlotLookupTest, EntriesThatTheModuleDoesNotFillAreAskedForAsSlotZero)
{
    module.slots = {{0, "Reader zero"}, {7, "Scripted Reader 0"}};
    module.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID* slots, CK_ULONG* count) -> CK_RV {
        if (slots == nullptr) {
            *count = 3;
            return CKR_OK;
        }
        slots[0] = 7;
        *count = 1;
        return CKR_OK;
    };
    EXPECT_EQ(lookUp("Reader zero"), counted + " -> count 3: CKR_OK\n" +
                                         "C_GetSlotList(token present 0, list {0, 0, 0}, count 3) -> count 1: CKR_OK\n"
                                         "C_GetSlotInfo(slot 7): CKR_OK\n"
                                         "C_GetSlotInfo(slot 0): CKR_OK\n"
                                         "C_GetSlotInfo(slot 0): CKR_OK\n");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(found, 0);
}

TEST_F(SlotLookupTest, CountThatGrewMeanwhileIsNotBelieved)
{
    module.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID* slots, CK_ULONG* count) -> CK_RV {
        *count = slots == nullptr ? 1 : 1000;
        if (slots != nullptr)
            slots[0] = 7;
        return CKR_OK;
    };
    EXPECT_EQ(lookUp("Scripted Reader 0"),
              counted + " -> count 1: CKR_OK\n" +
                  "C_GetSlotList(token present 0, list {0}, count 1) -> count 1000: CKR_OK\n"
                  "C_GetSlotInfo(slot 7): CKR_OK\n");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(found, 7);
}

TEST_F(SlotLookupTest, CountThatCannotBeHeldLeavesAsException)
{
    module.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID*, CK_ULONG* count) -> CK_RV {
        *count = widestCode;
        return CKR_OK;
    };
    EXPECT_EQ(story([&] { EXPECT_THROW(token.GetSlotIDByTerminalName("Scripted Reader 0", &found), std::exception); }),
              counted + " -> count 18446744073709551615: CKR_OK\n");
    EXPECT_EQ(found, untouched);
}

TEST_F(SlotLookupTest, UnreadableSlotIsReportedAndPassedOver)
{
    module.slots = {{3, "Reader A"}, unreadable({5, "Reader A 2"}, CKR_DEVICE_REMOVED), {4, "Reader B"}};
    EXPECT_EQ(lookUp("Reader A"), counted + " -> count 3: CKR_OK\n" +
                                      "C_GetSlotList(token present 0, list {0, 0, 0}, count 3) -> count 3: CKR_OK\n"
                                      "C_GetSlotInfo(slot 3): CKR_OK\n"
                                      "C_GetSlotInfo(slot 5): CKR_DEVICE_REMOVED\n"
                                      "| C_GetSlotInfo failed. Code: 50\n"
                                      "C_GetSlotInfo(slot 4): CKR_OK\n");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(found, 3);
}

TEST_F(SlotLookupTest, UnreadableLastSlotDecidesTheResultDespiteAMatch)
{
    module.slots = {{3, "Reader A"}, unreadable({5, "Reader A 2"}, widestCode)};
    EXPECT_EQ(lookUp("Reader A"), counted + " -> count 2: CKR_OK\n" +
                                      "C_GetSlotList(token present 0, list {0, 0}, count 2) -> count 2: CKR_OK\n"
                                      "C_GetSlotInfo(slot 3): CKR_OK\n"
                                      "C_GetSlotInfo(slot 5): 0xffffffffffffffff\n"
                                      "| C_GetSlotInfo failed. Code: 18446744073709551615\n");
    EXPECT_CKR(rv, widestCode);
    EXPECT_EQ(found, 3);
}

TEST_F(SlotLookupTest, UnreadableSlotsAloneAreNoTerminal)
{
    module.slots[0].infoResult = CKR_DEVICE_REMOVED;
    EXPECT_EQ(lookUp(""), counted + " -> count 1: CKR_OK\n" +
                              "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK\n"
                              "C_GetSlotInfo(slot 7): CKR_DEVICE_REMOVED\n"
                              "| C_GetSlotInfo failed. Code: 50\n"
                              "| Terminal not found\n");
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(found, untouched);
}

TEST_F(SlotLookupTest, EmptyNameSelectsTheLastReadableSlot)
{
    module.slots = {{3, "Reader A"}, {5, "Reader B"}, unreadable({4, "Reader C"}, CKR_DEVICE_REMOVED)};
    lookUp("");
    EXPECT_CKR(rv, CKR_DEVICE_REMOVED);
    EXPECT_EQ(found, 5);
}

// --- When a name and a slot match ---

struct Pair {
    const char* title;
    std::string name;
    Slot slot;
    bool match;
};

Slot reader(std::string description, std::string manufacturer = "Maker")
{
    return {slotId, std::move(description), std::move(manufacturer)};
}

Pair match(const char* title, std::string name, Slot slot)
{
    return {title, std::move(name), std::move(slot), true};
}

Pair noMatch(const char* title, std::string name, Slot slot)
{
    return {title, std::move(name), std::move(slot), false};
}

std::ostream& operator<<(std::ostream& stream, const Pair& pair)
{
    return stream << pair.title;
}

std::string nulPadded(std::string text, std::size_t width)
{
    text.resize(width, '\0');
    return text;
}

const std::string wide(64, 'r');

const Pair pairs[] = {
    match("TheDescription", "Reader 0", reader("Reader 0")),
    match("TheManufacturer", "Maker", reader("Reader 0")),
    match("NameIsPrefixOfDescription", "Reader 1", reader("Reader 10")),
    match("DescriptionIsPrefixOfName", "Reader 0 Extra", reader("Reader 0")),
    match("NameIsPrefixOfManufacturer", "Mak", reader("Reader 0")),
    match("ManufacturerIsPrefixOfName", "Maker's reader", reader("Reader 0")),
    noMatch("AnotherReader", "Reader 1", reader("Reader 0")),
    noMatch("PieceFromTheMiddle", "eader", reader("Reader 0")),
    noMatch("OtherCase", "reader 0", reader("Reader 0")),
    noMatch("BothFieldsJoined", "Maker Reader 0", reader("Reader 0", "Makers")),
    match("BlankManufacturerMatchesAnything", "Elsewhere", reader("Reader 0", "")),
    match("BlankDescriptionMatchesAnything", "Elsewhere", reader("")),
    match("EmptyNameMatchesAnything", "", reader("Reader 0")),
    match("BlankInsideTheField", "Reader 0 ", reader("Reader 0 A")),
    match("BlankBehindTheName", "Reader 0 ", reader("Reader 0")),
    noMatch("LeadingBlankIsText", "Reader 0", reader(" Reader 0")),
    match("LeadingBlankInBoth", " Reader 0", reader(" Reader 0")),
    match("OneLetterField", "R", reader("Q", "R")),
    match("FieldOfFullWidth", wide, reader(wide)),
    match("NameLongerThanAFullField", wide + "x", reader(wide)),
    noMatch("DifferenceInTheLastByteOfAFullField", std::string(63, 'r') + "s", reader(wide)),
    match("ManufacturerOfFullWidth", std::string(33, 'm'), reader("Reader 0", std::string(32, 'm'))),
    match("DescriptionIsNotReadPastItsEnd", wide + "Maker X", reader(wide, "Maker")),
    match("ManufacturerIsNotReadPastItsEnd", std::string(32, 'm') + "Reader", reader("Other", std::string(32, 'm'))),
    noMatch("NulPaddedFieldIsNoPrefix", "Reader 0 Extra", reader(nulPadded("Reader 0", 64))),
    match("NulPaddedFieldMatchesItsText", "Reader 0", reader(nulPadded("Reader 0", 64))),
    match("NulPaddedFieldMatchesAPrefixOfItsText", "Read", reader(nulPadded("Reader 0", 64))),
    noMatch("NulPaddedManufacturerIsNoPrefix", "Maker Extra", reader("Reader 0", nulPadded("Maker", 32))),
    noMatch("FieldOfNulsAloneMatchesNoName", "Reader 0", reader(nulPadded("", 64))),
    noMatch("NulBeforeTheBlanks", "Reader 0 Extra", reader(nulPadded("Reader 0", 9))),
    match("BytesAboveAscii", "\xd0\xa7\xd0\xb8", reader("\xd0\xa7\xd0\xb8\xd1\x82")),
    noMatch("OtherBytesAboveAscii", "\xd0\xa7\xd0\xb9", reader("\xd0\xa7\xd0\xb8\xd1\x82")),
};

class SlotMatchTest : public SlotLookupTest, public testing::WithParamInterface<Pair> {};

TEST_P(SlotMatchTest, IsAPrefixTestInBothDirections)
{
    const Pair& pair = GetParam();
    module.slots = {pair.slot};
    const std::string told = lookUp(pair.name.c_str());
    EXPECT_CKR(rv, pair.match ? CKR_OK : CKR_FUNCTION_FAILED);
    EXPECT_EQ(found, pair.match ? 7 : untouched);
    EXPECT_EQ(told.find("| Terminal not found\n") == std::string::npos, pair.match);
}

INSTANTIATE_TEST_SUITE_P(Pairs, SlotMatchTest, testing::ValuesIn(pairs),
                         [](const auto& info) { return std::string(info.param.title); });

} // namespace
