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
        EXPECT_EQ(0, outcome.status) << outcome.err;
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
        EXPECT_CKR(CKR_OK, standard->C_GetSessionInfo(session, &info));
        return info.state;
    }

    fs::path tokenFolder() const
    {
        for (const fs::directory_entry& token : fs::directory_iterator(folder.path() / "token" / "tokens"))
            return token.path();
        return {};
    }

    const std::string otherPin = "abcdefgh";
};

TEST_F(SeveralProcesses, APinChangedElsewhereIsTheOneThatCounts)
{
    ASSERT_CKR(CKR_OK, logout());
    ASSERT_CKR(CKR_OK, elsewhere({"changePin", userPin, otherPin}));
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, userPin));
    EXPECT_CKR(CKR_OK, login(session, otherPin)) << "in the session of before";
}

TEST_F(SeveralProcesses, AUserWhoIsLoggedInStaysSoAfterAPinChangeElsewhere)
{
    ASSERT_CKR(CKR_OK, elsewhere({"changePin", userPin, otherPin}));
    EXPECT_CKR(CKR_OK, generateRsa("mine"));
    EXPECT_CKR(CKR_USER_ALREADY_LOGGED_IN, login(session, userPin));
    EXPECT_EQ(static_cast<CK_STATE>(CKS_RW_USER_FUNCTIONS), state());
}

TEST_F(SeveralProcesses, APinReplacedElsewhereChangesNoPin)
{
    ASSERT_CKR(CKR_OK, elsewhere({"changePin", userPin, otherPin}));
    EXPECT_CKR(CKR_PIN_INCORRECT, changePin(userPin, "11112222")) << "though this user is logged in with it";
    EXPECT_CKR(CKR_OK, login(session, otherPin));
    ASSERT_CKR(CKR_OK, elsewhere({"changePin", otherPin, userPin}));
    EXPECT_CKR(CKR_OK, changePin(userPin, otherPin));
    EXPECT_EQ(static_cast<CK_STATE>(CKS_RW_USER_FUNCTIONS), state());
    EXPECT_CKR(CKR_PIN_INCORRECT, elsewhere({"changePin", userPin, userPin}));
    EXPECT_CKR(CKR_OK, elsewhere({"changePin", otherPin, otherPin}));
}

TEST_F(SeveralProcesses, ASecurityOfficersPinChangedElsewhereStaysWhenThisOneSetsTheUsers)
{
    ASSERT_CKR(CKR_OK, logout());
    std::string puk = soPin;
    ASSERT_CKR(CKR_OK, standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(puk.data()), puk.size()));
    ASSERT_CKR(CKR_OK, elsewhere({"changePuk", soPin, otherPin}));
    std::string pin = "55556666";
    ASSERT_CKR(CKR_OK, standard->C_InitPIN(session, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()));
    ASSERT_CKR(CKR_OK, logout());
    EXPECT_CKR(CKR_PIN_INCORRECT,
               standard->C_Login(session, CKU_SO, reinterpret_cast<CK_BYTE_PTR>(puk.data()), puk.size()));
    EXPECT_CKR(CKR_OK, login(session, pin));
    EXPECT_CKR(CKR_PIN_INCORRECT, elsewhere({"changePuk", soPin, soPin}));
    EXPECT_CKR(CKR_OK, elsewhere({"changePuk", otherPin, otherPin}));
}

TEST_F(SeveralProcesses, ATokenInitialisedElsewhereIsAnotherToken)
{
    ASSERT_CKR(CKR_OK, generateRsa("gone"));
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, "gone");
    ASSERT_CKR(CKR_OK, changePin(userPin, otherPin));
    ASSERT_CKR(CKR_OK, elsewhere({"initialise"}));
    EXPECT_CKR(CKR_USER_NOT_LOGGED_IN, generateRsa("none"));
    EXPECT_EQ(static_cast<CK_STATE>(CKS_RW_PUBLIC_SESSION), state());
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, otherPin));
    ASSERT_CKR(CKR_OK, login(session, userPin));
    EXPECT_EQ(0U, objectCount());
    ASSERT_CKR(CKR_OK, generateRsa("new"));
    CK_MECHANISM mechanism = {CKM_SHA256_RSA_PKCS, nullptr, 0};
    EXPECT_CKR(CKR_OBJECT_HANDLE_INVALID, standard->C_SignInit(session, &mechanism, key)) << "it means no other key";
    CK_MECHANISM again = {CKM_SHA256_RSA_PKCS, nullptr, 0};
    EXPECT_CKR(CKR_OK, standard->C_SignInit(session, &again, only(CKO_PRIVATE_KEY, "new")));
}

TEST_F(SeveralProcesses, ObjectsMadeAndDestroyedElsewhereComeAndGo)
{
    ASSERT_CKR(CKR_OK, elsewhere({"generate", "theirs"}));
    only(CKO_PRIVATE_KEY, "theirs");
    ASSERT_CKR(CKR_OK, elsewhere({"clean"}));
    EXPECT_EQ(0U, objectCount());
}

TEST_F(SeveralProcesses, SessionsKeepTheirHandlesWhenTheStoreIsOpenedAnew)
{
    const CK_SESSION_HANDLE closed = openSession();
    CK_SESSION_HANDLE reading = 0;
    ASSERT_CKR(CKR_OK, standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION, nullptr, nullptr, &reading));
    ASSERT_CKR(CKR_OK, standard->C_CloseSession(closed));
    ASSERT_CKR(CKR_OK, logout());
    ASSERT_CKR(CKR_OK, elsewhere({"changePin", userPin, otherPin}));
    ASSERT_CKR(CKR_OK, login(session, otherPin));
    CK_SESSION_INFO info = {};
    EXPECT_CKR(CKR_OK, standard->C_GetSessionInfo(reading, &info));
    EXPECT_EQ(static_cast<CK_STATE>(CKS_RO_USER_FUNCTIONS), info.state);
    EXPECT_CKR(CKR_SESSION_HANDLE_INVALID, standard->C_GetSessionInfo(closed, &info));
    EXPECT_LT(reading, openSession()) << "no handle comes twice";
}

TEST_F(SeveralProcesses, ABlankTokenInitialisedElsewhereIsSeen)
{
    ASSERT_CKR(CKR_OK, standard->C_Finalize(nullptr));
    fs::remove_all(folder.path() / "token");
    ASSERT_CKR(CKR_OK, standard->C_Initialize(nullptr));
    CK_TOKEN_INFO info = {};
    ASSERT_CKR(CKR_OK, standard->C_GetTokenInfo(onlySlot(), &info));
    ASSERT_FALSE(info.flags & CKF_TOKEN_INITIALIZED);
    ASSERT_CKR(CKR_OK, elsewhere({"initialise"}));
    ASSERT_CKR(CKR_OK, standard->C_GetTokenInfo(onlySlot(), &info));
    EXPECT_TRUE(info.flags & CKF_TOKEN_INITIALIZED);
    session = openSession();
    EXPECT_CKR(CKR_OK, login(session));
}

TEST_F(SeveralProcesses, ADirectoryMadeAnewIsAnotherStore)
{
    fs::remove_all(folder.path() / "token");
    CK_TOKEN_INFO info = {};
    EXPECT_CKR(CKR_DEVICE_ERROR, standard->C_GetTokenInfo(onlySlot(), &info));
    ASSERT_CKR(CKR_OK, elsewhere({"initialise"}));
    ASSERT_CKR(CKR_OK, elsewhere({"changePin", userPin, otherPin}));
    EXPECT_CKR(CKR_OK, standard->C_GetTokenInfo(onlySlot(), &info));
    session = openSession();
    EXPECT_CKR(CKR_PIN_INCORRECT, login(session, userPin));
    EXPECT_CKR(CKR_OK, login(session, otherPin));
}

class HeldStore : public SeveralProcesses {
protected:
    HeldStore() : held(open((folder.path() / "token" / "lock").c_str(), O_RDWR | O_CLOEXEC)) { EXPECT_LE(0, held); }
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
    ASSERT_CKR(CKR_OK, standard->C_Finalize(nullptr));
    setenv("VORNIX_SOFTTOKEN_WAIT", "1", 1);
    ASSERT_CKR(CKR_OK, standard->C_Initialize(nullptr));
    ASSERT_EQ(0, flock(held, LOCK_EX));
    EXPECT_CKR(CKR_DEVICE_ERROR, getTokenInfo());
    EXPECT_CKR(CKR_DEVICE_ERROR, getTokenInfo()) << "again, since the queue was left";
    ASSERT_EQ(0, flock(held, LOCK_UN));
    EXPECT_CKR(CKR_OK, getTokenInfo());
}

TEST_F(HeldStore, IsNotHeldByAForkedChild)
{
    ASSERT_EQ(0, flock(held, LOCK_UN));
    int ready[2];
    int end[2];
    ASSERT_EQ(0, pipe(ready));
    ASSERT_EQ(0, pipe(end));
    const pid_t child = fork();
    char byte = 0;
    if (child == 0) {
        (void)close(end[1]);
        (void)!write(ready[1], &byte, 1); // the parent waits for it
        (void)!read(end[0], &byte, 1);    // until the parent closes its end
        _exit(0);
    }
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    for (const fs::directory_entry& descriptor : fs::directory_iterator("/proc/" + std::to_string(child) + "/fd")) {
        std::error_code gone;
        const fs::path file = fs::read_symlink(descriptor.path(), gone);
        if (file.parent_path() == folder.path() / "token" && std::stoi(descriptor.path().filename()) != held)
            ADD_FAILURE() << file;
    }
    (void)close(end[1]);
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
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
    ASSERT_CKR(CKR_OK, standard->C_Finalize(nullptr));
    for (const char* wrong : {"x", "-1", "1s", "86401", "99999999999999999999"}) {
        setenv("VORNIX_SOFTTOKEN_WAIT", wrong, 1);
        EXPECT_CKR(CKR_ARGUMENTS_BAD, standard->C_Initialize(nullptr)) << wrong;
    }
    setenv("VORNIX_SOFTTOKEN_WAIT", "", 1);
    EXPECT_CKR(CKR_OK, standard->C_Initialize(nullptr));
}

// A process was killed between the PIN's change and its copy.
TEST_F(SeveralProcesses, APinReplacedBeforeADeathDoesNotComeBack)
{
    const fs::path token = tokenFolder();
    const fs::path old = folder.path() / "old";
    fs::copy_file(token / "token.kept", old);
    ASSERT_CKR(CKR_OK, changePin(userPin, otherPin));
    fs::copy_file(old, token / "token.kept", fs::copy_options::overwrite_existing);
    ASSERT_CKR(CKR_PIN_INCORRECT, elsewhere({"changePin", userPin, userPin})) << "the copy is renewed at the start";
    fs::resize_file(token / "token.object", 200);
    EXPECT_CKR(CKR_PIN_INCORRECT, elsewhere({"changePin", userPin, userPin}));
    EXPECT_CKR(CKR_OK, elsewhere({"changePin", otherPin, otherPin}));
}

} // namespace
} // namespace endtoend
