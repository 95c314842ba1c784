// SPDX-License-Identifier: Apache-2.0
// A disk that takes what is written and then cannot say that it has it: nothing is acknowledged that a loss of power
// would undo.
#include "tests/endtoend/softtoken/soft_token.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <optional>

namespace {

/// How the path of what the disk fails to synchronise ends.
std::optional<std::string> failing;

bool fails(int file)
{
    if (!failing)
        return false;
    const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file));
    return path.size() >= failing->size() &&
           path.compare(path.size() - failing->size(), std::string::npos, *failing) == 0;
}

int synchronise(const char* function, int file)
{
    if (fails(file)) {
        errno = EIO;
        return -1;
    }
    return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, function))(file);
}

} // namespace

// In the way of everybody in the process.
extern "C" {

int synchroniseFile(int file) __asm__("fsync");
int synchroniseData(int file) __asm__("fdatasync");

int synchroniseFile(int file)
{
    return synchronise("fsync", file);
}

int synchroniseData(int file)
{
    return synchronise("fdatasync", file);
}
}

namespace endtoend {
namespace {

class FailingDisk : public TokenTest {
protected:
    ~FailingDisk() override { unsetenv("VORNIX_SOFTTOKEN_PIN_TRIES"); }

    template <typename Call>
    static CK_RV whileItFails(Call call, const std::string& what = everything)
    {
        failing = what;
        const CK_RV rv = call();
        failing.reset();
        return rv;
    }

    std::string tokenFolder() const
    {
        return std::filesystem::directory_iterator(folder.path() / "token" / "tokens")->path();
    }

    CK_RV changePin(std::string from, std::string to) const
    {
        return standard->C_SetPIN(session, reinterpret_cast<CK_BYTE_PTR>(from.data()), from.size(),
                                  reinterpret_cast<CK_BYTE_PTR>(to.data()), to.size());
    }

    void startAgain()
    {
        EXPECT_CKR(standard->C_Finalize(nullptr), CKR_OK);
        ASSERT_CKR(standard->C_Initialize(nullptr), CKR_OK);
        session = openSession();
    }

    static constexpr const char* everything = "";
    const std::string otherPin = "13571357";
};

TEST_F(FailingDisk, ChangesNoPin)
{
    for (const char* what : {everything, "token.object"}) {
        startAgain();
        EXPECT_CKR(whileItFails([&] { return changePin(userPin, otherPin); }, what), CKR_DEVICE_MEMORY) << what;
        for (int life = 0; life < 2; ++life) {
            EXPECT_CKR(login(session, otherPin), CKR_PIN_INCORRECT) << what;
            EXPECT_CKR(login(session), CKR_OK) << what;
            startAgain();
        }
    }
}

TEST_F(FailingDisk, MakesNoObject)
{
    for (const std::string& what : {std::string(everything), std::string(".object"), tokenFolder()}) {
        EXPECT_CKR(whileItFails([&] { return generateRsa("rsa"); }, what), CKR_DEVICE_MEMORY) << what;
        EXPECT_CKR(whileItFails([&] { return generateGost("gost"); }, what), CKR_DEVICE_MEMORY) << what;
        EXPECT_EQ(objectCount(), 0U) << what;
        startAgain();
        EXPECT_CKR(login(session), CKR_OK);
        EXPECT_EQ(objectCount(), 0U) << what;
    }
}

TEST_F(FailingDisk, InitialisesNoToken)
{
    ASSERT_CKR(generateRsa("kept"), CKR_OK);
    ASSERT_CKR(changePin(userPin, otherPin), CKR_OK);
    ASSERT_CKR(standard->C_CloseSession(session), CKR_OK);
    EXPECT_CKR(whileItFails([&] { return initToken(); }), CKR_DEVICE_MEMORY);
    session = openSession();
    EXPECT_CKR(login(session), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session, otherPin), CKR_OK);
    EXPECT_EQ(objectCount(), 2U);
}

// Whoever cuts the power after each wrong PIN must not have more tries than others.
TEST_F(FailingDisk, TriesNoPinThatItCouldNotCount)
{
    setenv("VORNIX_SOFTTOKEN_PIN_TRIES", "9", 1);
    startAgain();
    EXPECT_CKR(whileItFails([&] { return login(session, otherPin); }), CKR_DEVICE_MEMORY);
    EXPECT_CKR(whileItFails([&] { return login(session); }), CKR_DEVICE_MEMORY);
    CK_SESSION_INFO info = {};
    EXPECT_CKR(standard->C_GetSessionInfo(session, &info), CKR_OK);
    EXPECT_EQ(info.state, static_cast<CK_STATE>(CKS_RW_PUBLIC_SESSION));
    EXPECT_CKR(login(session), CKR_OK);
}

} // namespace
} // namespace endtoend
