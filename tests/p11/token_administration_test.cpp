// SPDX-License-Identifier: Apache-2.0
// Initialising, cleaning and describing the token.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

using namespace scripted;
using namespace stories;
using namespace std::string_literals;

namespace {

// --- Initialisation ---

TEST(TokenInitialisation, EndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer soPin = "87654321";
        return {token.InitCard(slotId, soPin.data(), soPin.size())};
    };
    operation.steps = {
        Step("C_InitToken(slot 7, PIN \"87654321\" [8], label \"VORNIX Token                    \" [32])")
            .onFailure("| C_InitToken failed. Code: {code}\n")};
    sweep(operation);
}

using TokenInitialisationTest = WrapperTest;

TEST_F(TokenInitialisationTest, EmptyPinReachesTheModuleAsNull)
{
    EXPECT_EQ(story([&] { rv = token.InitCard(slotId, nullptr, 0); }),
              "C_InitToken(slot 7, PIN null [0], label \"VORNIX Token                    \" [32]): CKR_PIN_INCORRECT\n"
              "| C_InitToken failed. Code: 160\n");
    EXPECT_CKR(rv, CKR_PIN_INCORRECT);
}

TEST_F(TokenInitialisationTest, LabelReadsBackWithoutItsBlanks)
{
    Buffer soPin = "87654321";
    EXPECT_CKR(token.InitCard(slotId, soPin.data(), soPin.size()), CKR_OK);
    Bytes label, manufacturer, model, serialNumber;
    std::string flags;
    EXPECT_CKR(token.GetTokenInfo(slotId, label, manufacturer, model, serialNumber, flags), CKR_OK);
    EXPECT_EQ(label, bytesOf("VORNIX Token"));
}

// --- Cleaning ---

const std::string destroyed101 = "C_DestroyObject(session 41, object 101): CKR_OK\n";
const std::string destroyed102 = "C_DestroyObject(session 41, object 102): CKR_OK\n";

TEST(TokenCleaning, OfTwoObjectsEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.prepare = [](ScriptedModule& module) {
        module.add(dataObject("first"));
        module.add(dataObject("second"));
    };
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        return {token.CleanCard(slotId, pin.data(), pin.size())};
    };
    operation.steps =
        inSession({startSearch("null [0]"), Step(findNext).gives("{101}").onFailure(searchEnded + closed).forgiven(),
                   Step(findNext).gives("{102}").onFailure(searchEnded + destroyed101 + closed).forgiven(),
                   Step(findNext).gives("{}").onFailure(searchEnded + destroyed101 + destroyed102 + closed).forgiven(),
                   Step("C_FindObjectsFinal(session 41)")
                       .onFailure("| C_FindObjectsFinal failed. Code: {code}\n{rest}")
                       .forgiven(),
                   Step("C_DestroyObject(session 41, object 101)")
                       .onFailure("| C_DestroyObject failed for 101. Code: {code}\n{rest}")
                       .forgiven(),
                   Step("C_DestroyObject(session 41, object 102)")
                       .onFailure("| C_DestroyObject failed for 102. Code: {code}\n" + closed)});
    sweep(operation);
}

TEST(TokenCleaning, OfAnEmptyTokenEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        return {token.CleanCard(slotId, pin.data(), pin.size())};
    };
    operation.steps = inSession({
        startSearch("null [0]"),
        Step(findNext).gives("{}").onFailure(searchEnded + closed).forgiven(),
        Step("C_FindObjectsFinal(session 41)").onFailure("| C_FindObjectsFinal failed. Code: {code}\n" + closed),
    });
    sweep(operation);
}

class TokenCleaningTest : public WrapperTest {
protected:
    std::string clean()
    {
        return story([&] { rv = token.CleanCard(slotId, pin.data(), pin.size()); });
    }
};

TEST_F(TokenCleaningTest, EveryObjectGoes)
{
    module.addSampleObjects();
    clean();
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_TRUE(module.objects.empty());
}

TEST_F(TokenCleaningTest, WrongPinLeavesTheObjects)
{
    module.addSampleObjects();
    const auto before = module.objects;
    pin = "0000";
    EXPECT_EQ(clean(), loginRefused("CKU_USER, PIN \"0000\" [4]", CKR_PIN_INCORRECT));
    EXPECT_CKR(rv, CKR_PIN_INCORRECT);
    EXPECT_EQ(module.objects, before);
}

TEST_F(TokenCleaningTest, HandleThatCameWithAnErrorIsNotDestroyed)
{
    module.C_FindObjects = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE* handle, CK_ULONG, CK_ULONG* count) -> CK_RV {
        *handle = 101;
        *count = 1;
        return CKR_DEVICE_ERROR;
    };
    EXPECT_EQ(clean(), inSession(searchStarted("null [0]") + findNext + ": CKR_DEVICE_ERROR\n" + searchEnded));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(TokenCleaningTest, HandlesAreWrittenInFullAndUnsigned)
{
    module.objects[widestCode] = dataObject("last");
    module.C_DestroyObject = answering(widestCode);
    EXPECT_EQ(clean(), inSession(allFound({"18446744073709551615"}) +
                                 "C_DestroyObject(session 41, object 18446744073709551615): 0xffffffffffffffff\n"
                                 "| C_DestroyObject failed for 18446744073709551615. Code: 18446744073709551615\n"));
    EXPECT_CKR(rv, widestCode);
}

// --- Description ---

struct TokenFields {
    Bytes label = bytesOf("old label");
    Bytes manufacturer = bytesOf("old manufacturer");
    Bytes model = bytesOf("old model");
    Bytes serialNumber = bytesOf("old serial number");
    std::string flags = "old flags";

    CK_RV read(P11Wrapper& token)
    {
        return token.GetTokenInfo(slotId, label, manufacturer, model, serialNumber, flags);
    }

    std::string text() const
    {
        std::string text;
        for (const Bytes* field : {&label, &manufacturer, &model, &serialNumber})
            text += std::string(field->begin(), field->end()) + "|";
        return text + flags;
    }
};

TEST(TokenDescription, EndsTidilyWhicheverCallFails)
{
    const std::string emptied = "||||";
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        TokenFields fields;
        const CK_RV rv = fields.read(token);
        return {rv, fields.text()};
    };
    operation.steps = {Step("C_GetTokenInfo(slot 7)")};
    operation.outputs = "Scripted Token|Scripted Works|Scripted Model|0123456789abcdef|000000000000040d";
    operation.outputsOfFailure = emptied;
    sweep(operation);
}

class TokenDescriptionTest : public WrapperTest {
protected:
    std::string described()
    {
        TokenFields fields;
        EXPECT_CKR(fields.read(token), CKR_OK);
        return fields.text();
    }
};

TEST_F(TokenDescriptionTest, FieldsOfFullWidthAreKeptWhole)
{
    module.token.label = std::string(32, 'l');
    module.token.manufacturer = std::string(32, 'm');
    module.token.model = std::string(16, 'o');
    module.token.serialNumber = std::string(16, 's');
    EXPECT_EQ(described(), std::string(32, 'l') + "|" + std::string(32, 'm') + "|" + std::string(16, 'o') + "|" +
                               std::string(16, 's') + "|000000000000040d");
}

TEST_F(TokenDescriptionTest, BlankFieldsAreEmpty)
{
    module.token.label = module.token.manufacturer = module.token.model = module.token.serialNumber = "";
    EXPECT_EQ(described(), "||||000000000000040d");
}

TEST_F(TokenDescriptionTest, OnlyTrailingBlanksAreDropped)
{
    module.token.label = "  a  b";
    module.token.manufacturer = "a\t";
    module.token.model = "a\0"s;
    module.token.serialNumber = "a";
    EXPECT_EQ(described(), "  a  b|a\t|a\0|a|000000000000040d"s);
}

TEST_F(TokenDescriptionTest, NulPaddingIsData)
{
    module.token.label = "label" + std::string(27, '\0');
    module.token.serialNumber = std::string(15, '\0') + " ";
    EXPECT_EQ(described(), "label" + std::string(27, '\0') + "|Scripted Works|Scripted Model|" + std::string(15, '\0') +
                               "|000000000000040d");
}

TEST_F(TokenDescriptionTest, FlagsAreSixteenLowercaseDigits)
{
    TokenFields fields;
    module.token.flags = 0;
    EXPECT_CKR(fields.read(token), CKR_OK);
    EXPECT_EQ(fields.flags, "0000000000000000");
    module.token.flags = widestCode;
    EXPECT_CKR(fields.read(token), CKR_OK);
    EXPECT_EQ(fields.flags, "ffffffffffffffff");
    module.token.flags = 0x123456789abcdef;
    EXPECT_CKR(fields.read(token), CKR_OK);
    EXPECT_EQ(fields.flags, "0123456789abcdef");
}

} // namespace
