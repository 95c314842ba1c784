// SPDX-License-Identifier: Apache-2.0
// The module that the Java tests load, seen through the wrapper: it needs no test program and keeps its state.
#include "tests/p11/wrapper_test.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace scripted;

namespace {

/// A copy of the module under a name of its own has a token of its own.
class ScriptedJvmModuleTest : public testing::Test {
protected:
    ScriptedJvmModuleTest()
    {
        std::string name = testing::TempDir() + "scripted_jvm_module_XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        directory = name;
        file = directory / "module.so";
        std::filesystem::copy_file(jvmModuleFile, file);
        setenv("SCRIPTED_MODULE_TRANSCRIPT", (directory / "transcript").c_str(), 1);
    }

    ~ScriptedJvmModuleTest() override
    {
        unsetenv("SCRIPTED_MODULE_TRANSCRIPT");
        std::filesystem::remove_all(directory);
    }

    /// One operation on a wrapper of its own, as the native methods do it.
    template <class Operation>
    CK_RV call(Operation operation)
    {
        P11Wrapper token(file.c_str());
        EXPECT_TRUE(token.Initialize());
        CK_SLOT_ID slot = 0;
        EXPECT_CKR(token.GetSlotIDByTerminalName("Scripted Reader 0", &slot), CKR_OK);
        return operation(token, slot);
    }

    std::vector<ObjectAttr> objects()
    {
        std::vector<ObjectAttr> objects;
        EXPECT_CKR(call([&](P11Wrapper& token, CK_SLOT_ID slot) {
                       return token.ListObjects(slot, pin.data(), pin.size(), objects);
                   }),
                   CKR_OK);
        return objects;
    }

    std::filesystem::path directory;
    std::filesystem::path file;
    Buffer pin = "12345678";
};

TEST_F(ScriptedJvmModuleTest, HasTheSampleObjects)
{
    std::string text;
    for (const ObjectAttr& object : objects())
        text += object.type + "/" + object.label + "/" + object.id + "/" + object.keyType + "\n";
    EXPECT_EQ(text, "certificate/alice/01/\n"
                    "public key/alice/01/RSA\n"
                    "private key/alice/01/RSA\n"
                    "public key/boris/02ff/GOSTR3410\n"
                    "private key/boris/02ff/GOSTR3410\n"
                    "data/note//\n");
}

TEST_F(ScriptedJvmModuleTest, RefusesAWrongPin)
{
    Buffer wrong = "0000";
    CapturedOutput output;
    const CK_RV rv = call([&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.SetPin(slot, wrong.data(), wrong.size(), pin.data(), pin.size());
    });
    output.release();
    EXPECT_CKR(rv, CKR_PIN_INCORRECT);
}

TEST_F(ScriptedJvmModuleTest, ChangesOutliveTheUnloading)
{
    EXPECT_CKR(call([&](P11Wrapper& token, CK_SLOT_ID slot) {
                   return token.GenerateKeyPair(slot, pin.data(), pin.size(), 2048, "new", nullptr, 0);
               }),
               CKR_OK);
    EXPECT_EQ(objects().size(), 8);
    EXPECT_CKR(call([&](P11Wrapper& token, CK_SLOT_ID slot) { return token.CleanCard(slot, pin.data(), pin.size()); }),
               CKR_OK);
    EXPECT_TRUE(objects().empty());
}

TEST_F(ScriptedJvmModuleTest, WritesItsTranscript)
{
    Buffer input = "same";
    EXPECT_CKR(call([&](P11Wrapper& token, CK_SLOT_ID) {
                   return token.pkcs7Verify(input.data(), input.size(), input.data(), input.size());
               }),
               CKR_OK);
    std::ostringstream transcript;
    transcript << std::ifstream(directory / "transcript").rdbuf();
    EXPECT_EQ(transcript.str(), "C_GetFunctionList: CKR_OK\n"
                                "C_Initialize(null): CKR_OK\n"
                                "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n"
                                "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n"
                                "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK\n"
                                "C_GetSlotInfo(slot 7): CKR_OK\n"
                                "C_TOVR_pkcs7Verify(first \"same\" [4], second \"same\" [4]): CKR_OK\n"
                                "C_Finalize(null): CKR_OK\n");
}

} // namespace
