// SPDX-License-Identifier: Apache-2.0
// Loading, initialising, finalising and unloading the module.
#include "tests/p11/wrapper_test.h"

#include <dlfcn.h>

#include <memory>

using namespace scripted;

namespace {

const std::string loaded = "module loaded\n";
const std::string listed = "C_GetFunctionList: CKR_OK\n";
const std::string initialized = "C_Initialize(null): CKR_OK\n";
const std::string probe = "C_GetSlotList(token present 0, list null, count 0)";
const std::string probed = probe + " -> count 1: CKR_OK\n";
const std::string finalized = "C_Finalize(null): CKR_OK\n";
const std::string unloaded = "module unloaded\n";

/// What the dynamic loader says about a file that it cannot load.
std::string loaderMessage(const char* file)
{
    EXPECT_EQ(dlopen(file, RTLD_NOW), nullptr);
    return dlerror();
}

class ModuleAccessTest : public testing::Test {
protected:
    template <class Job>
    std::string story(Job&& job)
    {
        return storyOf(transcript, std::forward<Job>(job));
    }

    /// One whole life of a wrapper around `file`.
    std::string life(const char* file, bool expected)
    {
        return story([&] {
            P11Wrapper token(file);
            EXPECT_EQ(token.Initialize(), expected);
            EXPECT_EQ(token.initialized, expected);
        });
    }

    Transcript transcript;
    ScriptedModule module{transcript};
};

TEST_F(ModuleAccessTest, LifeOfAWrapper)
{
    EXPECT_EQ(life(moduleFile, true), loaded + listed + initialized + probed + finalized + unloaded);
}

TEST_F(ModuleAccessTest, ConstructionOnlyLoads)
{
    EXPECT_EQ(story([] {
                  P11Wrapper token(moduleFile);
                  EXPECT_FALSE(token.initialized);
                  EXPECT_NE(token.libHandle, nullptr);
                  EXPECT_EQ(token.functionList, nullptr);
              }),
              loaded + unloaded);
}

TEST_F(ModuleAccessTest, ModuleSymbolsStayPrivate)
{
    P11Wrapper token(moduleFile);
    EXPECT_NE(dlsym(token.libHandle, "C_GetFunctionList"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "C_GetFunctionList"), nullptr);
}

TEST_F(ModuleAccessTest, MissingFileIsReportedAtConstructionAndAtInitialisation)
{
    const char* const file = "/nonexistent/module.so";
    EXPECT_EQ(life(file, false),
              "| Error while load /nonexistent/module.so: " + loaderMessage(file) + "\n| Library not loaded\n");
}

TEST_F(ModuleAccessTest, FailedLoadLeavesNothingSet)
{
    story([] {
        P11Wrapper token("/nonexistent/module.so");
        EXPECT_FALSE(token.initialized);
        EXPECT_EQ(token.libHandle, nullptr);
        EXPECT_EQ(token.functionList, nullptr);
    });
}

TEST_F(ModuleAccessTest, DefaultConstructorLoadsTheTokenMakersModuleByName)
{
    const std::string name = "libtovr_pkcs11_main.so";
    EXPECT_EQ(story([] { P11Wrapper token; }),
              "| Error while load " + name + ": " + loaderMessage(name.c_str()) + "\n");
}

TEST_F(ModuleAccessTest, AllSymbolsAreResolvedWhenLoading)
{
    EXPECT_EQ(life(unresolvedModuleFile, false), std::string("| Error while load ") + unresolvedModuleFile + ": " +
                                                     loaderMessage(unresolvedModuleFile) + "\n| Library not loaded\n");
}

TEST_F(ModuleAccessTest, FileThatIsNoModule)
{
    EXPECT_EQ(life(notAModuleFile, false), "| Can't get C_GetFunctionList symbol\n");
}

TEST_F(ModuleAccessTest, NullFunctionList)
{
    EXPECT_EQ(life(nullListModuleFile, false), "| C_GetFunctionList error\n");
}

TEST_F(ModuleAccessTest, OnlyTheListCountsAndNotTheCodeThatCameWithIt)
{
    module.functionListResult = CKR_GENERAL_ERROR;
    EXPECT_EQ(life(moduleFile, true),
              loaded + "C_GetFunctionList: CKR_GENERAL_ERROR\n" + initialized + probed + finalized + unloaded);
}

TEST_F(ModuleAccessTest, ModuleThatCannotBeInitialisedIsUnloadedOnly)
{
    module.C_Initialize = answering(CKR_DEVICE_ERROR);
    EXPECT_EQ(life(moduleFile, false), loaded + listed +
                                           "C_Initialize(null): CKR_DEVICE_ERROR\n"
                                           "| C_Initialize error. Code: 48\n" +
                                           unloaded);
}

TEST_F(ModuleAccessTest, InitialisedModuleIsAcceptedWithoutProbeAndFinalised)
{
    module.C_Initialize = answering(CKR_CRYPTOKI_ALREADY_INITIALIZED);
    module.C_Finalize = answering(CKR_OK);
    EXPECT_EQ(life(moduleFile, true),
              loaded + listed + "C_Initialize(null): CKR_CRYPTOKI_ALREADY_INITIALIZED\n" + finalized + unloaded);
}

TEST_F(ModuleAccessTest, ModuleThatFailsTheProbeIsUnloadedWithoutFinalisation)
{
    module.C_GetSlotList = answering(CKR_DEVICE_REMOVED);
    EXPECT_EQ(life(moduleFile, false), loaded + listed + initialized + probe +
                                           ": CKR_DEVICE_REMOVED\n"
                                           "| C_GetSlotList failed. Code: 50\n" +
                                           unloaded);
}

TEST_F(ModuleAccessTest, CodesAreWrittenInFullAndUnsigned)
{
    module.C_Initialize = answering(widestCode);
    EXPECT_EQ(life(moduleFile, false), loaded + listed +
                                           "C_Initialize(null): 0xffffffffffffffff\n"
                                           "| C_Initialize error. Code: 18446744073709551615\n" +
                                           unloaded);
}

TEST_F(ModuleAccessTest, ModuleWithoutSlotsPassesTheProbe)
{
    module.slots.clear();
    EXPECT_EQ(life(moduleFile, true),
              loaded + listed + initialized + probe + " -> count 0: CKR_OK\n" + finalized + unloaded);
}

TEST_F(ModuleAccessTest, RefusedFinalisationStaysSilentAndUnloads)
{
    module.C_Finalize = answering(CKR_DEVICE_ERROR);
    EXPECT_EQ(life(moduleFile, true),
              loaded + listed + initialized + probed + "C_Finalize(null): CKR_DEVICE_ERROR\n" + unloaded);
}

TEST_F(ModuleAccessTest, FinalizeAnswersWhatTheModuleAnswers)
{
    P11Wrapper token(moduleFile);
    ASSERT_TRUE(token.Initialize());
    transcript.clear();
    module.C_Finalize = answering(widestCode);
    EXPECT_EQ(story([&] { EXPECT_CKR(token.Finalize(), widestCode); }), "C_Finalize(null): 0xffffffffffffffff\n");
    EXPECT_FALSE(token.initialized);
    EXPECT_NE(token.libHandle, nullptr);
    EXPECT_NE(token.functionList, nullptr);
}

TEST_F(ModuleAccessTest, FinalizeWithoutAFunctionListCallsNothing)
{
    P11Wrapper token(moduleFile);
    transcript.clear();
    EXPECT_EQ(story([&] { EXPECT_CKR(token.Finalize(), CKR_OK); }), "");
}

TEST_F(ModuleAccessTest, FinalizedWrapperIsNotFinalisedAgainAtItsEnd)
{
    EXPECT_EQ(story([] {
                  P11Wrapper token(moduleFile);
                  EXPECT_TRUE(token.Initialize());
                  EXPECT_CKR(token.Finalize(), CKR_OK);
              }),
              loaded + listed + initialized + probed + finalized + unloaded);
}

TEST_F(ModuleAccessTest, FinalizedWrapperCanBeInitialisedAgain)
{
    P11Wrapper token(moduleFile);
    ASSERT_TRUE(token.Initialize());
    ASSERT_CKR(token.Finalize(), CKR_OK);
    transcript.clear();
    EXPECT_EQ(story([&] { EXPECT_TRUE(token.Initialize()); }), listed + initialized + probed);
}

TEST_F(ModuleAccessTest, WrapperThatFailedTheProbeCanBeInitialisedAgain)
{
    failNth(module.C_GetSlotList, 1, CKR_DEVICE_ERROR);
    P11Wrapper token(moduleFile);
    story([&] { EXPECT_FALSE(token.Initialize()); });
    EXPECT_NE(token.functionList, nullptr);
    EXPECT_EQ(story([&] { EXPECT_TRUE(token.Initialize()); }),
              listed + "C_Initialize(null): CKR_CRYPTOKI_ALREADY_INITIALIZED\n");
}

TEST_F(ModuleAccessTest, LoadingAnotherFileForgetsTheFunctionList)
{
    P11Wrapper token(moduleFile);
    ASSERT_TRUE(token.Initialize());
    void* const handle = token.libHandle;
    story([&] { EXPECT_FALSE(token.loadLib("/nonexistent/module.so")); });
    EXPECT_FALSE(token.initialized);
    EXPECT_EQ(token.libHandle, nullptr);
    EXPECT_EQ(token.functionList, nullptr);
    EXPECT_TRUE(token.loadLib(moduleFile));
    EXPECT_NE(token.libHandle, nullptr);
    dlclose(handle); // the wrapper let go of it
}

TEST_F(ModuleAccessTest, DeletionFinalisesAndUnloads)
{
    auto token = std::make_unique<P11Wrapper>(moduleFile);
    ASSERT_TRUE(token->Initialize());
    transcript.clear();
    EXPECT_EQ(story([&] { token.reset(); }), finalized + unloaded);
}

TEST_F(ModuleAccessTest, FirstOfTwoWrappersToEndFinalisesTheModuleOfBoth)
{
    EXPECT_EQ(story([] {
                  auto first = std::make_unique<P11Wrapper>(moduleFile);
                  EXPECT_TRUE(first->Initialize());
                  P11Wrapper second(moduleFile);
                  EXPECT_TRUE(second.Initialize());
                  first.reset();
                  EXPECT_CKR(second.CleanCard(slotId, nullptr, 0), CKR_CRYPTOKI_NOT_INITIALIZED);
              }),
              loaded + listed + initialized + probed + listed +
                  "C_Initialize(null): CKR_CRYPTOKI_ALREADY_INITIALIZED\n" + finalized +
                  "C_OpenSession(slot 7, flags 0x6, application null, notify null): CKR_CRYPTOKI_NOT_INITIALIZED\n"
                  "C_Finalize(null): CKR_CRYPTOKI_NOT_INITIALIZED\n" +
                  unloaded);
}

TEST_F(ModuleAccessTest, OperationsAfterAFailedInitialisationTouchNoModule)
{
    failNth(module.C_GetSlotList, 1, CKR_DEVICE_ERROR);
    P11Wrapper token(moduleFile);
    story([&] { EXPECT_FALSE(token.Initialize()); });
    EXPECT_EQ(story([&] { EXPECT_CKR(token.InitCard(slotId, nullptr, 0), CKR_GENERAL_ERROR); }), "| Not Initialized\n");
}

} // namespace
