// Listing the objects of the token: the calls, their failures and the result.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/listing_test.h"

using namespace scripted;

namespace {

// --- Two keys, each call failing in turn ---

const std::string keyBuffers = "{CKA_CLASS zeros [8], CKA_ID zeros [1], CKA_LABEL zeros [5], CKA_KEY_TYPE zeros [8]}";
const std::string keyLengths = " -> [8, 1, 5, 8]";
// The lengths of one object stand in the query for the next until the module replaces them.
const std::string secondLengthQuery =
    "{CKA_CLASS null [8], CKA_ID null [1], CKA_LABEL null [5], CKA_KEY_TYPE null [8]}";

std::string reading(CK_OBJECT_HANDLE object, const std::string& query)
{
    return read(object, query) + keyLengths + ": CKR_OK\n" + read(object, keyBuffers) + keyLengths + ": CKR_OK\n";
}

TEST(ObjectListing, OfTwoKeysEndsTidilyWhicheverCallFails)
{
    const std::string before = "before/// ";
    const std::string alice = "private key/alice/01/RSA ";
    const std::string boris = "private key/boris/02/GOSTR3410 ";
    const std::string readAlice = reading(101, lengthQuery);
    const std::string readBoris = reading(102, secondLengthQuery);
    sweep({[](ScriptedModule& module) {
               module.add(privateKey("alice", {0x01}));
               module.add(privateKey("boris", {0x02}, CKK_GOSTR3410));
           },
           [](P11Wrapper& token) -> Outcome {
               Buffer pin = "12345678";
               Records records = {{"before", "", "", ""}};
               const CK_RV rv = token.ListObjects(slotId, pin.data(), pin.size(), records);
               return {rv, textOf(records)};
           },
           {openSession,
            userLogin,
            startSearch(noTemplate),
            {findNext, " -> {101}", searchEnded + closed, Ends::withSuccess, before},
            {findNext, " -> {102}", searchEnded + readAlice + closed, Ends::withSuccess, before + alice},
            {findNext, " -> {}", searchEnded + readAlice + readBoris + closed, Ends::withSuccess},
            {"C_FindObjectsFinal(session 41)", "", "| C_FindObjectsFinal failed. Code: {code}\n{rest}",
             Ends::withSuccess},
            {read(101, lengthQuery), keyLengths,
             "| C_GetAttributeValue failed for 101. Code: {code}\n" + reading(102, lengthQuery) + closed,
             Ends::withSuccess, before + boris},
            {read(101, keyBuffers), keyLengths, "| C_GetAttributeValue #2 failed for 101. Code: {code}\n{rest}",
             Ends::withSuccess, before + boris},
            {read(102, secondLengthQuery), keyLengths, "| C_GetAttributeValue failed for 102. Code: {code}\n" + closed,
             Ends::withTheCode, before + alice},
            {read(102, keyBuffers), keyLengths, "| C_GetAttributeValue #2 failed for 102. Code: {code}\n{rest}",
             Ends::withTheCode, before + alice},
            closeSession},
           before + alice + boris,
           before});
}

TEST(ObjectListing, OfAnEmptyTokenEndsTidilyWhicheverCallFails)
{
    sweep({[](ScriptedModule&) {},
           [](P11Wrapper& token) -> Outcome {
               Buffer pin = "12345678";
               Records records;
               const CK_RV rv = token.ListObjects(slotId, pin.data(), pin.size(), records);
               return {rv, textOf(records)};
           },
           {openSession,
            userLogin,
            startSearch(noTemplate),
            {findNext, " -> {}", "{rest}", Ends::withSuccess},
            {"C_FindObjectsFinal(session 41)", "", "| C_FindObjectsFinal failed. Code: {code}\n{rest}"},
            closeSession}});
}

// --- Results ---

TEST_F(ObjectListingTest, MissingAttributeIsNoFailure)
{
    module.add(dataObject("note"));
    EXPECT_EQ(list(), opened + loggedIn + searchStarted + findNext + " -> {101}: CKR_OK\n" + findNext +
                          " -> {}: CKR_OK\n" + searchEnded + read(101, lengthQuery) + ": CKR_ATTRIBUTE_TYPE_INVALID\n" +
                          read(101, "{CKA_CLASS zeros [8], CKA_ID null [0], CKA_LABEL zeros [4], "
                                    "CKA_KEY_TYPE null [0]}") +
                          ": CKR_ATTRIBUTE_TYPE_INVALID\n" + closed);
    EXPECT_CKR(CKR_OK, rv);
    EXPECT_EQ(records, (Records{{"data", "note", "", ""}}));
}

TEST_F(ObjectListingTest, OpenSessionThatMissesAnAttributeCountsAsSuccess)
{
    module.C_OpenSession = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), "C_OpenSession(slot 7, flags 0x6, application null, notify null): CKR_ATTRIBUTE_TYPE_INVALID\n");
    EXPECT_CKR(CKR_OK, rv);
}

TEST_F(ObjectListingTest, LoginThatMissesAnAttributeFails)
{
    module.C_Login = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), opened + "C_Login(session 41, CKU_USER, PIN \"12345678\" [8]): CKR_ATTRIBUTE_TYPE_INVALID\n" +
                          closed + "| Login failed. Code: 18\n");
    EXPECT_CKR(CKR_ATTRIBUTE_TYPE_INVALID, rv);
}

TEST_F(ObjectListingTest, SearchStartThatMissesAnAttributeFails)
{
    module.C_FindObjectsInit = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), opened + loggedIn + "C_FindObjectsInit(session 41, null [0]): CKR_ATTRIBUTE_TYPE_INVALID\n" +
                          closed + "| C_FindObjectsInit failed. Code: 18\n");
    EXPECT_CKR(CKR_ATTRIBUTE_TYPE_INVALID, rv);
}

TEST_F(ObjectListingTest, SearchEndThatMissesAnAttributeIsReportedAndCountsAsSuccess)
{
    module.C_FindObjectsFinal = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(list(), opened + loggedIn + searchStarted + findNext + " -> {}: CKR_OK\n" +
                          "C_FindObjectsFinal(session 41): CKR_ATTRIBUTE_TYPE_INVALID\n"
                          "| C_FindObjectsFinal failed. Code: 18\n" +
                          closed);
    EXPECT_CKR(CKR_OK, rv);
}

TEST_F(ObjectListingTest, SensitiveAttributeLeavesTheObjectOut)
{
    module.add(privateKey("alice", {0x01}));
    module.objects[101][CKA_ID] = std::nullopt;
    EXPECT_EQ(list(), opened + loggedIn + searchStarted + findNext + " -> {101}: CKR_OK\n" + findNext +
                          " -> {}: CKR_OK\n" + searchEnded + read(101, lengthQuery) + ": CKR_ATTRIBUTE_SENSITIVE\n" +
                          "| C_GetAttributeValue failed for 101. Code: 17\n" + closed);
    EXPECT_CKR(CKR_ATTRIBUTE_SENSITIVE, rv);
    EXPECT_TRUE(records.empty());
}

TEST_F(ObjectListingTest, RecordsComeInTheOrderOfTheSearch)
{
    module.addSampleObjects();
    list();
    EXPECT_CKR(CKR_OK, rv);
    EXPECT_EQ(records, (Records{{"certificate", "alice", "01", ""},
                                {"public key", "alice", "01", "RSA"},
                                {"private key", "alice", "01", "RSA"},
                                {"public key", "boris", "02ff", "GOSTR3410"},
                                {"private key", "boris", "02ff", "GOSTR3410"},
                                {"data", "note", "", ""}}));
}

} // namespace
