// SPDX-License-Identifier: Apache-2.0
// Listing the objects of the token: the calls, their failures and the result.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/listing_test.h"

using namespace scripted;
using namespace stories;

namespace {

// --- Two keys, each call failing in turn ---

const std::string keyBuffers = "{CKA_CLASS zeros [8], CKA_ID zeros [1], CKA_LABEL zeros [5], CKA_KEY_TYPE zeros [8]}";
const std::string keyLengths = "[8, 1, 5, 8]";
// The lengths of one object stand in the query for the next until the module replaces them.
const std::string secondLengthQuery =
    "{CKA_CLASS null [8], CKA_ID null [1], CKA_LABEL null [5], CKA_KEY_TYPE null [8]}";

std::string reading(CK_OBJECT_HANDLE object, const std::string& query)
{
    const std::string lengths = " -> " + keyLengths + ": CKR_OK\n";
    return read(object, query) + lengths + read(object, keyBuffers) + lengths;
}

TEST(ObjectListing, OfTwoKeysEndsTidilyWhicheverCallFails)
{
    const std::string before = "before/// ";
    const std::string alice = "private key/alice/01/RSA ";
    const std::string boris = "private key/boris/02/GOSTR3410 ";
    const std::string readAlice = reading(101, lengthQuery);
    const std::string readBoris = reading(102, secondLengthQuery);
    Operation operation;
    operation.prepare = [](ScriptedModule& module) {
        module.add(privateKey("alice", {0x01}));
        module.add(privateKey("boris", {0x02}, CKK_GOSTR3410));
    };
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Records records = {{"before", "", "", ""}};
        const CK_RV rv = token.ListObjects(slotId, pin.data(), pin.size(), records);
        return {rv, textOf(records)};
    };
    operation.steps = inSession({
        startSearch(everything),
        Step(findNext).gives("{101}").onFailure(searchEnded + closed).forgiven().leaves(before),
        Step(findNext).gives("{102}").onFailure(searchEnded + readAlice + closed).forgiven().leaves(before + alice),
        Step(findNext).gives("{}").onFailure(searchEnded + readAlice + readBoris + closed).forgiven(),
        Step("C_FindObjectsFinal(session 41)")
            .onFailure("| C_FindObjectsFinal failed. Code: {code}\n{rest}")
            .forgiven(),
        Step(read(101, lengthQuery))
            .gives(keyLengths)
            .onFailure("| C_GetAttributeValue failed for 101. Code: {code}\n" + reading(102, lengthQuery) + closed)
            .forgiven()
            .leaves(before + boris),
        Step(read(101, keyBuffers))
            .gives(keyLengths)
            .onFailure("| C_GetAttributeValue #2 failed for 101. Code: {code}\n{rest}")
            .forgiven()
            .leaves(before + boris),
        Step(read(102, secondLengthQuery))
            .gives(keyLengths)
            .onFailure("| C_GetAttributeValue failed for 102. Code: {code}\n" + closed)
            .leaves(before + alice),
        Step(read(102, keyBuffers))
            .gives(keyLengths)
            .onFailure("| C_GetAttributeValue #2 failed for 102. Code: {code}\n{rest}")
            .leaves(before + alice),
    });
    operation.outputs = before + alice + boris;
    operation.outputsOfFailure = before;
    sweep(operation);
}

TEST(ObjectListing, OfAnEmptyTokenEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Records records;
        const CK_RV rv = token.ListObjects(slotId, pin.data(), pin.size(), records);
        return {rv, textOf(records)};
    };
    operation.steps = inSession({
        startSearch(everything),
        Step(findNext).gives("{}").onFailure("{rest}").forgiven(),
        Step("C_FindObjectsFinal(session 41)").onFailure("| C_FindObjectsFinal failed. Code: {code}\n{rest}"),
    });
    sweep(operation);
}

// --- Results ---

TEST_F(ObjectListingTest, MissingAttributeIsNoFailure)
{
    module.add(dataObject("note"));
    EXPECT_EQ(list(), inSession(allFound({"101"}) + read(101, lengthQuery) + ": CKR_ATTRIBUTE_TYPE_INVALID\n" +
                                read(101, "{CKA_CLASS zeros [8], CKA_ID null [0], CKA_LABEL zeros [4], "
                                          "CKA_KEY_TYPE null [0]}") +
                                ": CKR_ATTRIBUTE_TYPE_INVALID\n"));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(records, (Records{{"data", "note", "", ""}}));
}

TEST_F(ObjectListingTest, OpenSessionThatMissesAnAttributeCountsAsSuccess)
{
    module.C_OpenSession = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), "C_OpenSession(slot 7, flags 0x6, application null, notify null): CKR_ATTRIBUTE_TYPE_INVALID\n");
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(ObjectListingTest, LoginThatMissesAnAttributeFails)
{
    module.C_Login = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), loginRefused(userAndPin, CKR_ATTRIBUTE_TYPE_INVALID));
    EXPECT_CKR(rv, CKR_ATTRIBUTE_TYPE_INVALID);
}

TEST_F(ObjectListingTest, SearchStartThatMissesAnAttributeFails)
{
    module.C_FindObjectsInit = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), inSession("C_FindObjectsInit(session 41, null [0]): CKR_ATTRIBUTE_TYPE_INVALID\n") +
                          "| C_FindObjectsInit failed. Code: 18\n");
    EXPECT_CKR(rv, CKR_ATTRIBUTE_TYPE_INVALID);
}

TEST_F(ObjectListingTest, SearchEndThatMissesAnAttributeIsReportedAndCountsAsSuccess)
{
    module.C_FindObjectsFinal = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), inSession(searchStarted(everything) + next("") +
                                "C_FindObjectsFinal(session 41): CKR_ATTRIBUTE_TYPE_INVALID\n"
                                "| C_FindObjectsFinal failed. Code: 18\n"));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(ObjectListingTest, SensitiveAttributeLeavesTheObjectOut)
{
    module.add(privateKey("alice", {0x01}));
    module.objects[101][CKA_ID] = std::nullopt;
    EXPECT_EQ(list(), inSession(allFound({"101"}) + read(101, lengthQuery) + ": CKR_ATTRIBUTE_SENSITIVE\n" +
                                "| C_GetAttributeValue failed for 101. Code: 17\n"));
    EXPECT_CKR(rv, CKR_ATTRIBUTE_SENSITIVE);
    EXPECT_TRUE(records.empty());
}

TEST_F(ObjectListingTest, RecordsComeInTheOrderOfTheSearch)
{
    module.addSampleObjects();
    list();
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(records, (Records{{"certificate", "alice", "01", ""},
                                {"public key", "alice", "01", "RSA"},
                                {"private key", "alice", "01", "RSA"},
                                {"public key", "boris", "02ff", "GOSTR3410"},
                                {"private key", "boris", "02ff", "GOSTR3410"},
                                {"data", "note", "", ""}}));
}

} // namespace
