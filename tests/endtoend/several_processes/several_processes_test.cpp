// SPDX-License-Identifier: Apache-2.0
// The store while several processes have it open: this one, and others that change it meanwhile.
#include "tests/endtoend/softtoken/soft_token.h"
#include "tools/child_process/child_process.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace endtoend {
namespace {

namespace fs = std::filesystem;

class SeveralProcesses : public TokenTest {
protected:
    /// A job in another process; its code.
    static CK_RV elsewhere(std::vector<std::string> job)
    {
        job.insert(job.begin(), TOKEN_PROCESS);
        const Outcome outcome = ::run(job);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return std::stoul(outcome.out.substr(outcome.out.rfind('\n') + 1)); // behind the library's own lines
    }

    CK_RV changePin(std::string from, std::string to) const
    {
        return standard->C_SetPIN(session, reinterpret_cast<CK_BYTE_PTR>(from.data()), from.size(),
                                  reinterpret_cast<CK_BYTE_PTR>(to.data()), to.size());
    }

    CK_RV logout() const { return standard->C_Logout(session); }

    CK_STATE state() const
    {
        CK_SESSION_INFO info = {};
        EXPECT_CKR(standard->C_GetSessionInfo(session, &info), CKR_OK);
        return info.state;
    }

    const std::string otherPin = "abcdefgh";
};

TEST_F(SeveralProcesses, APinChangedElsewhereIsTheOneThatCounts)
{
    ASSERT_CKR(logout(), CKR_OK);
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    EXPECT_CKR(login(session, userPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session, otherPin), CKR_OK) << "in the session of before";
}

TEST_F(SeveralProcesses, AUserWhoIsLoggedInStaysSoAfterAPinChangeElsewhere)
{
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    EXPECT_CKR(generateRsa("mine"), CKR_OK);
    EXPECT_CKR(login(session, userPin), CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_EQ(state(), static_cast<CK_STATE>(CKS_RW_USER_FUNCTIONS));
}

TEST_F(SeveralProcesses, APinReplacedElsewhereChangesNoPin)
{
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    EXPECT_CKR(changePin(userPin, "11112222"), CKR_PIN_INCORRECT) << "though this user is logged in with it";
    EXPECT_CKR(login(session, otherPin), CKR_OK);
    ASSERT_CKR(elsewhere({"changePin", otherPin, userPin}), CKR_OK);
    EXPECT_CKR(changePin(userPin, otherPin), CKR_OK);
    EXPECT_EQ(state(), static_cast<CK_STATE>(CKS_RW_USER_FUNCTIONS));
    EXPECT_CKR(elsewhere({"changePin", userPin, userPin}), CKR_PIN_INCORRECT);
    EXPECT_CKR(elsewhere({"changePin", otherPin, otherPin}), CKR_OK);
}

TEST_F(SeveralProcesses, ASecurityOfficersPinChangedElsewhereStaysWhenThisOneSetsTheUsers)
{
    ASSERT_CKR(logout(), CKR_OK);
    std::string puk = soPin;
    ASSERT_CKR(standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(puk.data()), puk.size()), CKR_OK);
    ASSERT_CKR(elsewhere({"changePuk", soPin, otherPin}), CKR_OK);
    std::string pin = "55556666";
    ASSERT_CKR(standard->C_InitPIN(session, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()), CKR_OK);
    ASSERT_CKR(logout(), CKR_OK);
    EXPECT_CKR(standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(puk.data()), puk.size()),
               CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session, pin), CKR_OK);
    EXPECT_CKR(elsewhere({"changePuk", soPin, soPin}), CKR_PIN_INCORRECT);
    EXPECT_CKR(elsewhere({"changePuk", otherPin, otherPin}), CKR_OK);
}

TEST_F(SeveralProcesses, ATokenInitialisedElsewhereIsAnotherToken)
{
    ASSERT_CKR(generateRsa("gone"), CKR_OK);
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "gone");
    ASSERT_CKR(changePin(userPin, otherPin), CKR_OK);
    ASSERT_CKR(elsewhere({"initialise"}), CKR_OK);
    EXPECT_CKR(generateRsa("none"), CKR_USER_NOT_LOGGED_IN);
    EXPECT_EQ(state(), static_cast<CK_STATE>(CKS_RW_PUBLIC_SESSION));
    EXPECT_CKR(login(session, otherPin), CKR_PIN_INCORRECT);
    ASSERT_CKR(login(session, userPin), CKR_OK);
    EXPECT_EQ(objectCount(), 0U);
    ASSERT_CKR(generateRsa("new"), CKR_OK);
    CK_MECHANISM mechanism = {CKM_SHA256_RSA_PKCS, nullptr, 0};
    EXPECT_CKR(standard->C_SignInit(session, &mechanism, key), CKR_OBJECT_HANDLE_INVALID) << "it means no other key";
    CK_MECHANISM again = {CKM_SHA256_RSA_PKCS, nullptr, 0};
    EXPECT_CKR(standard->C_SignInit(session, &again, only(CKO_PRIVATE_KEY, "new")), CKR_OK);
}

TEST_F(SeveralProcesses, ObjectsMadeAndDestroyedElsewhereComeAndGo)
{
    ASSERT_CKR(elsewhere({"generate", "theirs"}), CKR_OK);
    only(CKO_PRIVATE_KEY, "theirs");
    ASSERT_CKR(elsewhere({"clean"}), CKR_OK);
    EXPECT_EQ(objectCount(), 0U);
}

TEST_F(SeveralProcesses, SessionsKeepTheirHandlesWhenTheStoreIsOpenedAnew)
{
    const CK_SESSION_HANDLE closed = openSession();
    CK_SESSION_HANDLE reading = 0;
    ASSERT_CKR(standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION, nullptr, nullptr, &reading), CKR_OK);
    ASSERT_CKR(standard->C_CloseSession(closed), CKR_OK);
    ASSERT_CKR(logout(), CKR_OK);
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    ASSERT_CKR(login(session, otherPin), CKR_OK);
    CK_SESSION_INFO info = {};
    EXPECT_CKR(standard->C_GetSessionInfo(reading, &info), CKR_OK);
    EXPECT_EQ(info.state, static_cast<CK_STATE>(CKS_RO_USER_FUNCTIONS));
    EXPECT_CKR(standard->C_GetSessionInfo(closed, &info), CKR_SESSION_HANDLE_INVALID);
    EXPECT_LT(reading, openSession()) << "no handle comes twice";
}

TEST_F(SeveralProcesses, ABlankTokenInitialisedElsewhereIsSeen)
{
    ASSERT_CKR(standard->C_Finalize(nullptr), CKR_OK);
    fs::remove_all(folder.path() / "token");
    ASSERT_CKR(standard->C_Initialize(nullptr), CKR_OK);
    CK_TOKEN_INFO info = {};
    ASSERT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_OK);
    ASSERT_FALSE(info.flags & CKF_TOKEN_INITIALIZED);
    ASSERT_CKR(elsewhere({"initialise"}), CKR_OK);
    ASSERT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_OK);
    EXPECT_TRUE(info.flags & CKF_TOKEN_INITIALIZED);
    session = openSession();
    EXPECT_CKR(login(session), CKR_OK);
}

TEST_F(SeveralProcesses, ADirectoryMadeAnewIsAnotherStore)
{
    fs::remove_all(folder.path() / "token");
    CK_TOKEN_INFO info = {};
    EXPECT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_DEVICE_ERROR);
    ASSERT_CKR(elsewhere({"initialise"}), CKR_OK);
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    EXPECT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_OK);
    session = openSession();
    EXPECT_CKR(login(session, userPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session, otherPin), CKR_OK);
}

class HeldStore : public SeveralProcesses {
protected:
    HeldStore() : held(open((folder.path() / "token" / "lock").c_str(), O_RDWR | O_CLOEXEC)) { EXPECT_GE(held, 0); }
    ~HeldStore() override
    {
        (void)close(held); // only locked
        unsetenv("VORNIX_SOFTTOKEN_WAIT");
    }

    CK_RV getTokenInfo() const
    {
        CK_TOKEN_INFO info = {};
        return standard->C_GetTokenInfo(onlySlot(), &info);
    }

    const int held;
};

TEST_F(HeldStore, IsWaitedForUntilTheWaitIsOver)
{
    ASSERT_CKR(standard->C_Finalize(nullptr), CKR_OK);
    setenv("VORNIX_SOFTTOKEN_WAIT", "1", 1);
    ASSERT_CKR(standard->C_Initialize(nullptr), CKR_OK);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    EXPECT_CKR(getTokenInfo(), CKR_DEVICE_ERROR);
    EXPECT_CKR(getTokenInfo(), CKR_DEVICE_ERROR) << "again, since the queue was left";
    ASSERT_EQ(flock(held, LOCK_UN), 0);
    EXPECT_CKR(getTokenInfo(), CKR_OK);
}

TEST_F(HeldStore, IsNotHeldByAForkedChild)
{
    ASSERT_EQ(flock(held, LOCK_UN), 0);
    int ready[2];
    int end[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(end), 0);
    const pid_t child = fork();
    char byte = 0;
    if (child == 0) {
        (void)close(end[1]);
        (void)!write(ready[1], &byte, 1); // the parent waits for it
        (void)!read(end[0], &byte, 1);    // until the parent closes its end
        _exit(0);
    }
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    for (const fs::directory_entry& descriptor : fs::directory_iterator("/proc/" + std::to_string(child) + "/fd")) {
        std::error_code gone;
        const fs::path file = fs::read_symlink(descriptor.path(), gone);
        if (file.parent_path() == folder.path() / "token" && std::stoi(descriptor.path().filename()) != held)
            ADD_FAILURE() << file;
    }
    (void)close(end[1]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    for (const int used : {ready[0], ready[1], end[0]})
        (void)close(used);
}

TEST_F(HeldStore, IsNotOpenInAProgramThatIsRun)
{
    for (const fs::directory_entry& descriptor : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const fs::path file = fs::read_symlink(descriptor.path(), gone);
        if (file.parent_path() == folder.path() / "token") {
            EXPECT_TRUE(fcntl(std::stoi(descriptor.path().filename()), F_GETFD) & FD_CLOEXEC) << file;
        }
    }
}

TEST_F(HeldStore, AWaitThatIsNoNumberIsRefused)
{
    ASSERT_CKR(standard->C_Finalize(nullptr), CKR_OK);
    for (const char* wrong : {"x", "-1", "1s", "86401", "99999999999999999999"}) {
        setenv("VORNIX_SOFTTOKEN_WAIT", wrong, 1);
        EXPECT_CKR(standard->C_Initialize(nullptr), CKR_ARGUMENTS_BAD) << wrong;
    }
    setenv("VORNIX_SOFTTOKEN_WAIT", "", 1);
    EXPECT_CKR(standard->C_Initialize(nullptr), CKR_OK);
}

// A process was killed between the PIN's change and its copy.
TEST_F(SeveralProcesses, APinReplacedBeforeADeathDoesNotComeBack)
{
    const fs::path token = tokenFolder();
    const fs::path old = folder.path() / "old";
    fs::copy_file(token / "token.kept", old);
    ASSERT_CKR(changePin(userPin, otherPin), CKR_OK);
    fs::copy_file(old, token / "token.kept", fs::copy_options::overwrite_existing);
    ASSERT_CKR(elsewhere({"changePin", userPin, userPin}), CKR_PIN_INCORRECT) << "the copy is renewed at the start";
    fs::resize_file(token / "token.object", 200);
    EXPECT_CKR(elsewhere({"changePin", userPin, userPin}), CKR_PIN_INCORRECT);
    EXPECT_CKR(elsewhere({"changePin", otherPin, otherPin}), CKR_OK);
}

// By a program that knows nothing of the lock and the copy.
TEST_F(SeveralProcesses, APinReplacedByAnotherProgramDoesNotComeBackWithARefusedChange)
{
    const fs::path file = tokenFolder() / "token.object";
    const fs::path theirs = folder.path() / "theirs";
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    fs::copy_file(file, theirs);
    ASSERT_CKR(elsewhere({"changePin", otherPin, userPin}), CKR_OK);
    ASSERT_CKR(logout(), CKR_OK);
    ASSERT_CKR(login(session, userPin), CKR_OK);
    fs::copy_file(theirs, file, fs::copy_options::overwrite_existing);
    EXPECT_CKR(changePin("11112222", "33334444"), CKR_PIN_INCORRECT);
    EXPECT_CKR(elsewhere({"changePin", userPin, userPin}), CKR_PIN_INCORRECT);
    EXPECT_CKR(elsewhere({"changePin", otherPin, otherPin}), CKR_OK);
}

TEST_F(SeveralProcesses, ARefusedInitialisationElsewhereLogsNobodyOut)
{
    ASSERT_CKR(elsewhere({"changePuk", soPin, otherPin}), CKR_OK);
    ASSERT_CKR(elsewhere({"initialise"}), CKR_PIN_INCORRECT);
    EXPECT_CKR(generateRsa("mine"), CKR_OK);
    EXPECT_EQ(state(), static_cast<CK_STATE>(CKS_RW_USER_FUNCTIONS));
}

TEST_F(SeveralProcesses, AnInitialisationTakenBackLaterLeavesNoPinBehind)
{
    ASSERT_CKR(changePin(userPin, otherPin), CKR_OK);
    ASSERT_CKR(standard->C_CloseSession(session), CKR_OK);
    const fs::path copy = tokenFolder() / "token.kept.new";
    const fs::path file = tokenFolder() / "token.object.new";
    fs::create_directory(copy); // neither can the copy be made
    fs::create_directory(file); // nor what was there be restored
    ASSERT_CKR(initToken(), CKR_DEVICE_MEMORY);
    fs::remove(copy);
    fs::remove(file);
    session = openSession();
    EXPECT_CKR(login(session, userPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session, otherPin), CKR_OK);
}

TEST_F(SeveralProcesses, ALoginThatAPinChangeNeedsLeavesTheTokenReadable)
{
    ASSERT_CKR(elsewhere({"changePin", userPin, otherPin}), CKR_OK);
    {
        const Shortage full(RLIMIT_FSIZE, 64); // enough for the lock
        EXPECT_CKR(changePin(userPin, "11112222"), CKR_DEVICE_MEMORY);
    }
    CK_TOKEN_INFO info = {};
    EXPECT_CKR(standard->C_GetTokenInfo(onlySlot(), &info), CKR_OK);
    EXPECT_GT(fs::file_size(tokenFolder() / "token.object"), 64U) << "whole again for all";
    EXPECT_CKR(login(session, otherPin), CKR_OK);
}

TEST_F(SeveralProcesses, ADeathIsPutRightOnceTheStoreCanBeRead)
{
    ASSERT_CKR(logout(), CKR_OK);
    fs::resize_file(tokenFolder() / "token.object", 200);
    const int lock = open((folder.path() / "token" / "lock").c_str(), O_RDWR | O_CLOEXEC);
    const std::uint64_t writing = 1;
    EXPECT_EQ(pwrite(lock, &writing, sizeof writing, 3 * sizeof writing), static_cast<ssize_t>(sizeof writing));
    EXPECT_EQ(close(lock), 0);
    {
        const Shortage noDescriptors(RLIMIT_NOFILE, 0);
        CK_SESSION_HANDLE another = 0;
        EXPECT_CKR(standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION, nullptr, nullptr, &another),
                   CKR_DEVICE_ERROR);
    }
    EXPECT_CKR(login(session), CKR_OK);
}

} // namespace
} // namespace endtoend
