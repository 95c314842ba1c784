// SPDX-License-Identifier: Apache-2.0
// Where the token is kept, and the module's life from load to unload.
#include "tests/endtoend/softtoken/soft_token.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace endtoend {
namespace {

namespace fs = std::filesystem;

using Store = StoreTest;

class StoreWithToken : public TokenTest {
protected:
    CK_RV changePin(std::string from, std::string to) const
    {
        return standard->C_SetPIN(session, reinterpret_cast<CK_BYTE_PTR>(from.data()), from.size(),
                                  reinterpret_cast<CK_BYTE_PTR>(to.data()), to.size());
    }

    const std::string otherPin = "13571357";
};

mode_t mode(const fs::path& path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST_F(Store, AppearsAtFirstUseForItsOwnerAlone)
{
    const Module module;
    EXPECT_FALSE(fs::exists(folder.path() / "token"));
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(mode(folder.path() / "token"), 0700U);
    EXPECT_EQ(mode(folder.path() / "token" / "tokens"), 0700U);
}

TEST_F(Store, IsFoundUnderADirectoryYetToBeMade)
{
    setenv("VORNIX_SOFTTOKEN_DIR", (folder.path() / "some" / "where" / "").c_str(), 1);
    const Module module;
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(mode(folder.path() / "some" / "where"), 0700U);
}

TEST_F(Store, LeavesTheModeOfAnExistingDirectoryAlone)
{
    fs::create_directory(folder.path() / "token");
    fs::permissions(folder.path() / "token", fs::perms(0755));
    const Module module;
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(mode(folder.path() / "token"), 0755U);
    EXPECT_EQ(mode(folder.path() / "token" / "tokens"), 0700U);
}

TEST_F(Store, StandsUnderTheUsersDataDirectoryUnlessNamed)
{
    unsetenv("VORNIX_SOFTTOKEN_DIR");
    setenv("XDG_DATA_HOME", (folder.path() / "data").c_str(), 1);
    setenv("HOME", (folder.path() / "home").c_str(), 1);
    const Module module;
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_TRUE(fs::is_directory(folder.path() / "data" / "vornix-softtoken"));
    EXPECT_CKR(module->standard.C_Finalize(nullptr), CKR_OK);

    unsetenv("XDG_DATA_HOME");
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_TRUE(fs::is_directory(folder.path() / "home" / ".local" / "share" / "vornix-softtoken"));
}

TEST_F(Store, HasNoPlaceUnderARelativeDataDirectory)
{
    unsetenv("VORNIX_SOFTTOKEN_DIR");
    setenv("XDG_DATA_HOME", "data", 1);
    setenv("HOME", "home", 1);
    const Module module;
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR);
    unsetenv("HOME");
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR);
    setenv("HOME", folder.path().c_str(), 1);
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_TRUE(fs::is_directory(folder.path() / ".local" / "share" / "vornix-softtoken"));
}

TEST_F(Store, RefusesToStartWhereItCannotWrite)
{
    folder.write("token", {});
    const Module module;
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR);
    EXPECT_CKR(module->standard.C_Finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
}

TEST_F(Store, KeepsNoConfigurationThatItCouldNotWrite)
{
    const Module module;
    {
        const Shortage noWriting(RLIMIT_FSIZE, 0);
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR);
    }
    for (const fs::directory_entry& left : fs::directory_iterator(folder.path() / "token"))
        EXPECT_EQ(left.path().filename().string().find("softhsm2"), std::string::npos) << left;
}

TEST_F(Store, IsNotOpenWhereItsLockCouldNotBeWritten)
{
    const Module module;
    ASSERT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    ASSERT_CKR(module->standard.C_Finalize(nullptr), CKR_OK);
    fs::remove(folder.path() / "token" / "lock");
    {
        const Shortage noWriting(RLIMIT_FSIZE, 0);
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_DEVICE_MEMORY);
    }
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
}

/// What C_Initialize says on standard error when it refuses a directory.
std::string refusal(const Module& module)
{
    testing::internal::CaptureStderr();
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR);
    return testing::internal::GetCapturedStderr();
}

TEST_F(Store, TrustsNoDirectoryThatOthersMayWriteTo)
{
    const Module module;
    const fs::path token = folder.path() / "token";
    fs::create_directory(token);
    for (const fs::perms others : {fs::perms(0720), fs::perms(0702), fs::perms(0777)}) {
        fs::permissions(token, others);
        EXPECT_NE(refusal(module).find("others may write"), std::string::npos) << mode(token);
        EXPECT_TRUE(fs::is_empty(token));
    }
    fs::permissions(token, fs::perms(0700));
    fs::create_directory(token / "tokens");
    fs::permissions(token / "tokens", fs::perms(0777));
    EXPECT_NE(refusal(module).find("others may write"), std::string::npos);
    fs::permissions(token / "tokens", fs::perms(0700));
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
}

TEST_F(Store, TrustsNoDirectoryOfAnotherUsers)
{
    const Module module;
    if (geteuid() != 0) {
        setenv("VORNIX_SOFTTOKEN_DIR", "/usr", 1); // only root can make one
        EXPECT_NE(refusal(module).find("belongs to another user"), std::string::npos);
        return;
    }
    const fs::path token = folder.path() / "token";
    fs::create_directory(token);
    ASSERT_EQ(chown(token.c_str(), 65534, 65534), 0);
    EXPECT_NE(refusal(module).find("belongs to another user"), std::string::npos);
    EXPECT_TRUE(fs::is_empty(token));

    fs::remove(token);
    fs::create_directory(folder.path() / "own");
    fs::create_directory_symlink("own", token);
    ASSERT_EQ(lchown(token.c_str(), 65534, 65534), 0);
    EXPECT_NE(refusal(module).find("belongs to another user"), std::string::npos) << "of the link";
    ASSERT_EQ(lchown(token.c_str(), 0, 0), 0);
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
}

TEST_F(Store, WritesThroughNoLink)
{
    const fs::path token = folder.path() / "token";
    const fs::path victim = folder.path() / "victim";
    for (const std::string name : {"softhsm2.conf", "softhsm2.conf.new", "undo.new"}) {
        fs::remove_all(token);
        fs::create_directory(token);
        folder.write("victim", bytes("untouched"));
        fs::create_symlink(victim, token / name);
        fs::create_symlink(victim, token / ("softhsm2.conf." + std::to_string(getpid())));
        const Module module;
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK) << name;
        EXPECT_EQ(folder.read("victim"), bytes("untouched")) << name;
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(token / "softhsm2.conf"))) << name;
    }
    for (const std::string name : {"lock", "queue"}) {
        fs::remove_all(token);
        fs::create_directory(token);
        fs::create_symlink(victim, token / name);
        const Module module;
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_DEVICE_ERROR) << name;
        EXPECT_EQ(folder.read("victim"), bytes("untouched")) << name;
    }
}

TEST_F(Store, ReadsItsConfigurationFromARegularFileOfBoundedSize)
{
    const fs::path token = folder.path() / "token";
    const fs::path configuration = token / "softhsm2.conf";
    const Module module;
    ASSERT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    const Bytes usual = folder.read("token/softhsm2.conf");
    ASSERT_CKR(module->standard.C_Finalize(nullptr), CKR_OK);
    fs::remove(configuration);
    ASSERT_EQ(mkfifo(configuration.c_str(), 0600), 0);
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK) << "a pipe, which nobody writes to";
    EXPECT_EQ(folder.read("token/softhsm2.conf"), usual);
    ASSERT_CKR(module->standard.C_Finalize(nullptr), CKR_OK);
    fs::resize_file(configuration, std::uintmax_t{1} << 40U); // takes no room on the disk
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(folder.read("token/softhsm2.conf"), usual);
}

TEST_F(Store, RefusesAPathThatItsStorageWouldCutShort)
{
    const Module module;
    for (const char* name : {"a=b", "a#b", "a\nb", "a\rb"}) {
        setenv("VORNIX_SOFTTOKEN_DIR", (folder.path() / name).c_str(), 1);
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR) << name;
        EXPECT_FALSE(fs::exists(folder.path() / name)) << name;
    }
}

TEST_F(Store, AnswersBeforeInitialisationThatItIsNotInitialised)
{
    const Module module;
    CK_ULONG count = 0;
    EXPECT_CKR(module->standard.C_GetSlotList(CK_FALSE, nullptr, &count), CKR_CRYPTOKI_NOT_INITIALIZED);
    CK_SLOT_INFO info;
    EXPECT_CKR(module->standard.C_GetSlotInfo(1, &info), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_CKR(module->C_TOVR_pkcs7Verify(nullptr, 0, nullptr, 0), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_CKR(module->C_TOVR_ImportCert(1, nullptr, 0, nullptr, 0), CKR_CRYPTOKI_NOT_INITIALIZED);
}

TEST_F(Store, IsInitialisedOnce)
{
    const Module module;
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_CRYPTOKI_ALREADY_INITIALIZED);
    EXPECT_CKR(module->standard.C_Finalize(nullptr), CKR_OK);
    EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK);
}

TEST_F(Store, LeavesTheProgramsOwnSoftHsmAlone)
{
    fs::create_directory(folder.path() / "own");
    folder.write("own.conf", bytes("directories.tokendir = " + (folder.path() / "own").string()));
    setenv("SOFTHSM2_CONF", (folder.path() / "own.conf").c_str(), 1);
    void* handle = dlopen(SOFTHSM2_MODULE, RTLD_NOW);
    ASSERT_TRUE(handle) << dlerror();
    const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(handle, "C_GetFunctionList"));
    CK_FUNCTION_LIST* own = nullptr;
    ASSERT_CKR(getList(&own), CKR_OK);
    ASSERT_CKR(own->C_Initialize(nullptr), CKR_OK);
    {
        const Module module;
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_GENERAL_ERROR);
        EXPECT_FALSE(fs::exists(folder.path() / "token"));
        EXPECT_EQ(std::getenv("SOFTHSM2_CONF"), folder.path() / "own.conf");
        CK_UTF8CHAR text[32] = {'1', '2', '3', '4'};
        EXPECT_CKR(module->standard.C_InitToken(1, text, 4, text), CKR_CRYPTOKI_NOT_INITIALIZED);
        EXPECT_TRUE(fs::is_empty(folder.path() / "own"));
        EXPECT_CKR(own->C_Finalize(nullptr), CKR_OK);
        EXPECT_CKR(module->standard.C_Initialize(nullptr), CKR_OK) << "once it is out of use";
    }
    EXPECT_EQ(dlclose(handle), 0);
}

/// A life of the module that ends without C_Finalize, with the user logged in.
void liveUnfinalised()
{
    void* const handle = dlopen(SOFTTOKEN_FILE, RTLD_NOW);
    ASSERT_TRUE(handle) << dlerror();
    const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(handle, "C_GetFunctionList"));
    CK_FUNCTION_LIST* list = nullptr;
    ASSERT_CKR(getList(&list), CKR_OK);
    EXPECT_CKR(list->C_Initialize(nullptr), CKR_OK);
    CK_UTF8CHAR text[32] = {'1', '2', '3', '4'};
    EXPECT_CKR(list->C_InitToken(1, text, 4, text), CKR_OK);
    CK_SESSION_HANDLE session = 0;
    EXPECT_CKR(list->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
    std::string pin = userPin;
    EXPECT_CKR(list->C_Login(session, CKU_USER, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size()), CKR_OK);
    EXPECT_EQ(dlclose(handle), 0);
}

TEST_F(Store, StartsAfreshAfterAnUnloadWithoutFinalize)
{
    for (int i = 0; i < 3; ++i)
        liveUnfinalised();
}

TEST_F(Store, StartsAfreshLikewiseWhereSoftHsmStays)
{
    void* const softHsm = dlopen(SOFTHSM2_MODULE, RTLD_NOW);
    for (int i = 0; i < 3; ++i)
        liveUnfinalised();
    EXPECT_EQ(dlclose(softHsm), 0);
}

// Some libraries that come along stay to the end of the process, and could keep what they look up.
TEST_F(Store, IsGoneOnceUnloaded)
{
    liveUnfinalised();
    EXPECT_FALSE(dlopen(SOFTTOKEN_FILE, RTLD_NOW | RTLD_NOLOAD));
}

TEST_F(Store, SurvivesAnExitWithoutFinalize)
{
    EXPECT_EXIT(
        {
            const auto* module = new Module;
            std::exit(static_cast<int>((*module)->standard.C_Initialize(nullptr)));
        },
        testing::ExitedWithCode(0), "^$");
}

TEST_F(StoreWithToken, KeepsObjectsFromOneLifeToTheNext)
{
    EXPECT_CKR(generateRsa("kept"), CKR_OK);
    EXPECT_CKR(generateGost("gost"), CKR_OK);
    EXPECT_CKR(standard->C_Finalize(nullptr), CKR_OK);
    EXPECT_CKR(standard->C_Initialize(nullptr), CKR_OK);
    session = openSession();
    EXPECT_CKR(login(session), CKR_OK);
    EXPECT_EQ(objectCount(), 4U);
    only(CKO_PRIVATE_KEY, "kept");
    only(CKO_PRIVATE_KEY, "gost");
}

TEST_F(StoreWithToken, KeepsNothingOfAKeyPairThatItRefuses)
{
    ASSERT_CKR(generateRsa("kept"), CKR_OK);
    EXPECT_CKR(generateRsa("none", 0), CKR_TEMPLATE_INCOMPLETE);
    CK_MECHANISM mechanism = {CKM_RSA_PKCS_KEY_PAIR_GEN, nullptr, 0};
    CK_BBOOL yes = CK_TRUE;
    CK_ULONG bits = 1024;
    CK_ATTRIBUTE publicTemplate[] = {{CKA_TOKEN, &yes, sizeof yes}, {CKA_MODULUS_BITS, &bits, sizeof bits}};
    CK_ATTRIBUTE privateTemplate[] = {{CKA_TOKEN, &yes, sizeof yes}, {CKA_CERTIFICATE_TYPE, &bits, sizeof bits}};
    CK_OBJECT_HANDLE keys[2];
    EXPECT_CKR(
        standard->C_GenerateKeyPair(session, &mechanism, publicTemplate, 2, privateTemplate, 2, &keys[0], &keys[1]),
        CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(objectCount(), 2U) << "those of before";
}

TEST_F(StoreWithToken, LosesObjectsAndAChangedPinWhenInitialisedAgain)
{
    EXPECT_CKR(generateRsa("lost"), CKR_OK);
    EXPECT_CKR(changePin(userPin, otherPin), CKR_OK);
    EXPECT_CKR(standard->C_CloseSession(session), CKR_OK);
    EXPECT_CKR(initToken(), CKR_OK);
    session = openSession();
    EXPECT_CKR(login(session, otherPin), CKR_PIN_INCORRECT);
    EXPECT_CKR(login(session), CKR_OK);
    EXPECT_EQ(objectCount(), 0U);
}

// As a process leaves it that is killed while SoftHSM2 rewrites the file.
TEST_F(StoreWithToken, IsReadAfterItsTokenFileWasCutShort)
{
    EXPECT_CKR(generateRsa("kept"), CKR_OK);
    fs::path file;
    for (const fs::directory_entry& token : fs::directory_iterator(folder.path() / "token" / "tokens"))
        file = token.path() / "token.object";
    const std::uintmax_t whole = fs::file_size(file);
    const auto expectReadable = [&](std::uintmax_t left, const std::string& pin) {
        EXPECT_CKR(standard->C_Finalize(nullptr), CKR_OK);
        fs::resize_file(file, left);
        const fs::path damaged = folder.path() / "damaged";
        fs::remove(damaged);
        fs::create_hard_link(file, damaged);
        EXPECT_CKR(standard->C_Initialize(nullptr), CKR_OK);
        EXPECT_EQ(fs::file_size(file), whole);
        EXPECT_EQ(fs::file_size(damaged), left) << "replaced in one step, not written over";
        session = openSession();
        EXPECT_CKR(login(session, pin), CKR_OK);
        EXPECT_EQ(objectCount(), 2U);
    };
    expectReadable(0, userPin);
    EXPECT_CKR(changePin(userPin, otherPin), CKR_OK);
    for (const std::uintmax_t left : {std::uintmax_t{0}, whole / 2, whole - 1})
        expectReadable(left, otherPin);
}

} // namespace
} // namespace endtoend
