// SPDX-License-Identifier: Apache-2.0
// A module's file: loading it, starting it, ending it.
#include "tests/session/scene.h"

#include <filesystem>
#include <fstream>

namespace {

using namespace scripted;

class ModuleFile : public SessionTest {
protected:
    /// Loads a file that is no module. Returns the story and what was told.
    std::string refusal(const std::string& path)
    {
        EXPECT_EQ(call(natives.load, bytes(path)), 0);
        EXPECT_EQ(thrown, "NativeFailure");
        return story + told;
    }
};

TEST_F(ModuleFile, IsLoadedAndItsFunctionListFetched)
{
    loaded = call(natives.load, bytes(moduleFile));
    EXPECT_NE(loaded, 0);
    EXPECT_EQ(story + told + thrown, "module loaded\nC_GetFunctionList: CKR_OK\n");
}

TEST_F(ModuleFile, CountsWhateverCodeComesWithItsList)
{
    module.functionListResult = CKR_GENERAL_ERROR;
    loaded = call(natives.load, bytes(moduleFile));
    EXPECT_NE(loaded, 0);
    EXPECT_EQ(story + told + thrown, "module loaded\nC_GetFunctionList: CKR_GENERAL_ERROR\n");
}

TEST_F(ModuleFile, HasOneFunctionListHoweverOftenItIsLoaded)
{
    loaded = call(natives.load, bytes(moduleFile));
    const jlong again = call(natives.load, bytes(moduleFile));
    EXPECT_NE(again, loaded);
    EXPECT_NE(call(natives.functionList, loaded), 0);
    EXPECT_EQ(call(natives.functionList, again), call(natives.functionList, loaded));
    call(natives.unload, again);
    EXPECT_EQ(story, "") << "the file is still in use";
}

TEST_F(ModuleFile, IsUnloadedWithoutBeingFinalised)
{
    load();
    call(natives.unload, loaded);
    loaded = 0;
    EXPECT_EQ(story + told + thrown, "module unloaded\n");
}

TEST_F(ModuleFile, ThatIsMissingIsToldInTheLoadersWords)
{
    EXPECT_EQ(refusal("/no/such/module.so"),
              failure(CKR_GENERAL_ERROR, "dlopen",
                      "Error while load /no/such/module.so: /no/such/module.so: cannot open shared object file: No "
                      "such file or directory\n"));
}

TEST_F(ModuleFile, MustBeASharedObject)
{
    const auto folder = std::filesystem::temp_directory_path();
    EXPECT_THAT(refusal(folder), testing::HasSubstr("Error while load " + folder.string() + ": "));
    const std::string text = folder / ("text" + std::to_string(getpid()) + ".so");
    std::ofstream(text) << "no module\n";
    EXPECT_THAT(refusal(text), testing::HasSubstr("Error while load " + text + ": "));
    std::filesystem::remove(text);
}

TEST_F(ModuleFile, WithoutAFunctionListIsNone)
{
    EXPECT_EQ(refusal(notAModuleFile),
              failure(CKR_GENERAL_ERROR, "C_GetFunctionList", "Can't get C_GetFunctionList symbol\n"));
    EXPECT_EQ(refusal(nullListModuleFile),
              failure(CKR_GENERAL_ERROR, "C_GetFunctionList", "C_GetFunctionList error\n"));
}

TEST_F(ModuleFile, WhoseFunctionListIsAnotherFilesIsNone)
{
    EXPECT_EQ(refusal(GNUTLS_LIBRARY),
              failure(CKR_GENERAL_ERROR, "C_GetFunctionList",
                      "C_GetFunctionList is not in " GNUTLS_LIBRARY " but in a file that it depends on\n"));
}

TEST_F(ModuleFile, WithAPathOfOneMegabyteIsRefused)
{
    EXPECT_THAT(refusal(std::string(1 << 20, 'x')), testing::HasSubstr("File name too long"));
}

class Start : public SessionTest {
protected:
    void SetUp() override { loaded = call(natives.load, bytes(moduleFile)); }
};

TEST_F(Start, AsksForLockingByTheSystem)
{
    module.C_Initialize = [](void* arguments) {
        const auto* given = static_cast<CK_C_INITIALIZE_ARGS*>(arguments);
        EXPECT_EQ(given->flags, CKF_OS_LOCKING_OK);
        EXPECT_TRUE(given->CreateMutex == nullptr && given->DestroyMutex == nullptr && given->LockMutex == nullptr &&
                    given->UnlockMutex == nullptr && given->pReserved == nullptr);
        return CKR_OK;
    };
    EXPECT_EQ(call(natives.initialize, loaded), 0);
    EXPECT_EQ(story + told + thrown, "C_Initialize(set): CKR_OK\n");
}

TEST_F(Start, OfAModuleThatCannotLockIsTriedWithoutLocking)
{
    module.C_Initialize = [](void* arguments) { return arguments == nullptr ? CKR_OK : CKR_CANT_LOCK; };
    EXPECT_EQ(call(natives.initialize, loaded), 1);
    EXPECT_EQ(story + told + thrown, "C_Initialize(set): CKR_CANT_LOCK\nC_Initialize(null): CKR_OK\n");
}

TEST_F(Start, AcceptsWhatSomebodyElseHasStarted)
{
    module.C_Initialize = answering(CKR_CRYPTOKI_ALREADY_INITIALIZED);
    EXPECT_EQ(call(natives.initialize, loaded), 2);
    EXPECT_EQ(story + told + thrown, "C_Initialize(set): CKR_CRYPTOKI_ALREADY_INITIALIZED\n");
}

TEST_F(Start, AcceptsWhatSomebodyElseHasStartedAlsoWithoutLocking)
{
    module.C_Initialize = [](void* arguments) {
        return arguments == nullptr ? CKR_CRYPTOKI_ALREADY_INITIALIZED : CKR_CANT_LOCK;
    };
    EXPECT_EQ(call(natives.initialize, loaded), 2);
    EXPECT_EQ(told + thrown, "");
}

TEST_F(Start, TellsWhyItFailed)
{
    module.C_Initialize = answering(CKR_DEVICE_ERROR);
    call(natives.initialize, loaded);
    EXPECT_EQ(story, "C_Initialize(set): CKR_DEVICE_ERROR\n");
    EXPECT_EQ(told, failure(CKR_DEVICE_ERROR, "C_Initialize", "C_Initialize error. Code: 48\n"));
    EXPECT_EQ(thrown, "NativeFailure");
}

TEST_F(Start, TellsWhyItFailedAlsoWithoutLocking)
{
    module.C_Initialize = [](void* arguments) { return arguments == nullptr ? CKR_DEVICE_ERROR : CKR_CANT_LOCK; };
    call(natives.initialize, loaded);
    EXPECT_EQ(told, failure(CKR_DEVICE_ERROR, "C_Initialize", "C_Initialize error. Code: 48\n"));
}

TEST_F(Start, IsEndedByFinish)
{
    call(natives.initialize, loaded);
    call(natives.finish, loaded);
    EXPECT_EQ(story + told + thrown, "C_Finalize(null): CKR_OK\n");
    call(natives.finish, loaded);
    EXPECT_EQ(told, failure(CKR_CRYPTOKI_NOT_INITIALIZED, "C_Finalize"));
    EXPECT_EQ(thrown, "NativeFailure");
}

} // namespace
