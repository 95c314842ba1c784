// SPDX-License-Identifier: Apache-2.0
// The module in a process that forks, and in one that is already ending.
#include "tests/endtoend/softtoken/soft_token.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace endtoend {
namespace {

constexpr std::size_t functionCount = 68 + 5;

/// What every function answers when called with zeros, C_Initialize last: each takes nothing but words.
std::array<CK_RV, functionCount> answers(const CK_FUNCTION_LIST* list)
{
    using Function = CK_RV (*)(CK_ULONG, CK_ULONG, CK_ULONG, CK_ULONG, CK_ULONG, CK_ULONG, CK_ULONG, CK_ULONG, CK_ULONG,
                               CK_ULONG, CK_ULONG);
    std::array<Function, functionCount> functions;
    std::memcpy(functions.data(), reinterpret_cast<const char*>(list) + sizeof(void*), sizeof functions);
    std::array<CK_RV, functionCount> codes;
    for (std::size_t i = functionCount; i-- > 0;)
        codes[i] = functions[i](0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    return codes;
}

/// 0x190 from every function but the two that need nothing initialised, and this from C_Initialize.
bool nothingIsInitialised(const CK_FUNCTION_LIST* list, CK_RV initialise)
{
    std::array<CK_RV, functionCount> expected;
    expected.fill(CKR_CRYPTOKI_NOT_INITIALIZED);
    expected[0] = initialise;
    expected[3] = CKR_ARGUMENTS_BAD; // C_GetFunctionList
    return answers(list) == expected;
}

using EndingProcess = StoreTest;

CK_FUNCTION_LIST* lastCalled = nullptr;

CK_FUNCTION_LIST* load()
{
    void* const handle = dlopen(SOFTTOKEN_FILE, RTLD_NOW);
    const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(handle, "C_GetFunctionList"));
    (void)getList(&lastCalled); // it would be called in vain otherwise
    return lastCalled;
}

void expectNothingInitialised()
{
    if (!nothingIsInitialised(lastCalled, CKR_GENERAL_ERROR))
        _exit(1);
}

void finaliseOnceAndAgain()
{
    if (lastCalled->C_Finalize(nullptr) != CKR_OK || lastCalled->C_Initialize(nullptr) != CKR_OK)
        _exit(1);
}

TEST_F(EndingProcess, FindsNothingInitialisedOnceTheModuleIsDestroyed)
{
    EXPECT_EXIT(
        {
            (void)std::atexit(expectNothingInitialised); // a failure shows in the status
            std::exit(static_cast<int>(load()->C_Initialize(nullptr)));
        },
        testing::ExitedWithCode(0), "^$");
}

TEST_F(EndingProcess, FindsNothingInitialisedOnceWhatTheModuleNeedsIsDestroyed)
{
    EXPECT_EXIT(
        {
            CK_FUNCTION_LIST* const list = load();
            (void)std::atexit(expectNothingInitialised); // likewise
            std::exit(static_cast<int>(list->C_Initialize(nullptr)));
        },
        testing::ExitedWithCode(0), "^$");
}

TEST_F(EndingProcess, MayCallOnAsLongAsAllIsThere)
{
    EXPECT_EXIT(
        {
            CK_FUNCTION_LIST* const list = load();
            CK_INFO info;
            (void)list->C_GetInfo(&info);            // not initialised yet
            (void)std::atexit(finaliseOnceAndAgain); // likewise
            std::exit(static_cast<int>(list->C_Initialize(nullptr)));
        },
        testing::ExitedWithCode(0), "^$");
}

class Fork : public TokenTest {
protected:
    /// What the child makes of `job`, leaving by `leave`: an exit status, or 128 and a signal.
    template <typename Job>
    static int inChild(Job job, void (*leave)(int) = std::exit)
    {
        (void)std::fflush(nullptr); // or the child writes it once more
        const pid_t child = fork();
        if (child == 0) {
            alarm(30);
            leave(job());
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
};

TEST_F(Fork, LeavesTheChildToInitialiseTheModuleItself)
{
    ASSERT_CKR(generateRsa("rsa"), CKR_OK);
    EXPECT_EQ(inChild([&] {
                  CK_ULONG count = 0;
                  if (standard->C_GetSlotList(CK_FALSE, nullptr, &count) != CKR_CRYPTOKI_NOT_INITIALIZED ||
                      standard->C_CloseSession(session) != CKR_CRYPTOKI_NOT_INITIALIZED ||
                      !nothingIsInitialised(standard, CKR_OK))
                      return 1;
                  if (standard->C_Initialize(nullptr) != CKR_CRYPTOKI_ALREADY_INITIALIZED)
                      return 2;
                  session = openSession();
                  return login(session) == CKR_OK && objectCount() == 2 ? 0 : 3;
              }),
              0);
    EXPECT_EQ(objectCount(), 2U) << "the parent's session";
}

TEST_F(Fork, OfAModuleThatIsOnlyLoadedLeavesItUsable)
{
    ASSERT_CKR(standard->C_Finalize(nullptr), CKR_OK);
    EXPECT_EQ(inChild([&] { return static_cast<int>(standard->C_Initialize(nullptr)); }), 0);
}

TEST_F(Fork, OfAForkedChildWorksLikewise)
{
    EXPECT_EQ(inChild([&] {
                  if (standard->C_Initialize(nullptr) != CKR_OK)
                      return 1;
                  return inChild([&] { return nothingIsInitialised(standard, CKR_OK) ? 0 : 2; });
              }),
              0);
}

TEST_F(Fork, LetsTheChildStartAfreshWithTheModuleLoadedAnew)
{
    void* const softHsm = dlopen(SOFTHSM2_MODULE, RTLD_NOW); // stays, as it may
    EXPECT_EQ(inChild(
                  [&] {
                      void* const handle = dlopen(SOFTTOKEN_FILE, RTLD_NOW);
                      if (dlclose(handle) != 0 || dlclose(handle) != 0) // the parent's too
                          return 1;
                      return static_cast<int>(load()->C_Initialize(nullptr));
                  },
                  _exit),
              0);
    EXPECT_EQ(dlclose(softHsm), 0);
}

// Fork waits for nobody, so a child finds the other thread where it was, with what it had locked. It must not exit as
// usual, since destructors would run on what that thread had in hand.
TEST_F(Fork, InTheMiddleOfACallEndsTheModuleForTheChild)
{
    std::atomic<bool> ended{false};
    std::thread other([&] {
        while (!ended) {
            CK_SESSION_HANDLE own = 0;
            CK_OBJECT_HANDLE object = 0;
            CK_OBJECT_CLASS objectClass = CKO_DATA;
            CK_BBOOL no = CK_FALSE;
            CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &objectClass, sizeof objectClass}, {CKA_TOKEN, &no, sizeof no}};
            EXPECT_CKR(standard->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &own), CKR_OK);
            EXPECT_CKR(standard->C_CreateObject(own, attributes, 2, &object), CKR_OK);
            EXPECT_CKR(standard->C_CloseSession(own), CKR_OK);
        }
    });
    int inTheMiddle = 0;
    for (int i = 0; i < 40 || (inTheMiddle == 0 && i < 4000); ++i) {
        const int outcome = inChild(
            [&] {
                switch (standard->C_Initialize(nullptr)) {
                case CKR_OK: return 0;
                case CKR_GENERAL_ERROR: return nothingIsInitialised(standard, CKR_GENERAL_ERROR) ? 1 : 2;
                default: return 3;
                }
            },
            _exit);
        EXPECT_TRUE(outcome == 0 || outcome == 1) << outcome;
        inTheMiddle += outcome == 1 ? 1 : 0;
    }
    ended = true;
    other.join();
    EXPECT_GT(inTheMiddle, 0);
}

using Locks = StoreTest;

int mutexesMade = 0;

CK_RV makeMutex(CK_VOID_PTR_PTR mutex)
{
    ++mutexesMade;
    *mutex = &mutexesMade;
    return CKR_OK;
}

CK_RV leaveMutex(CK_VOID_PTR)
{
    return CKR_OK;
}

// One call at a time needs no further locks, and each would be one more that a fork may leave locked.
TEST_F(Locks, AreTheModulesOwnAlone)
{
    const Module module;
    CK_C_INITIALIZE_ARGS arguments = {makeMutex, leaveMutex, leaveMutex, leaveMutex, 0, nullptr};
    for (const CK_FLAGS flags : {CK_FLAGS{0}, CK_FLAGS{CKF_OS_LOCKING_OK}}) {
        arguments.flags = flags;
        EXPECT_CKR(module->standard.C_Initialize(&arguments), CKR_OK);
        EXPECT_CKR(module->standard.C_Finalize(nullptr), CKR_OK);
    }
    EXPECT_EQ(mutexesMade, 0);
    arguments.LockMutex = nullptr;
    EXPECT_CKR(module->standard.C_Initialize(&arguments), CKR_ARGUMENTS_BAD) << "some of four functions";
    arguments = {};
    arguments.pReserved = &arguments;
    EXPECT_CKR(module->standard.C_Initialize(&arguments), CKR_ARGUMENTS_BAD);
}

} // namespace
} // namespace endtoend
