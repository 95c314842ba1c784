// SPDX-License-Identifier: Apache-2.0
// A full disk: a change that is answered with 0 is done, any other is not, and the token stays readable.
//
// The disk is a small file system in memory, mounted in a namespace of this process's own.
#include "tests/endtoend/endurance/full_cycle.h"
#include "tests/endtoend/several_processes/raw_token.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace endtoend {
namespace {

namespace fs = std::filesystem;

class FullDisk : public StoreTest {
protected:
    void SetUp() override
    {
        const uid_t user = geteuid();
        if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            ASSERT_EQ(errno, EPERM);
            GTEST_SKIP() << "needs a mount namespace: root, or leave to make user namespaces";
        }
        if (user != 0)
            std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1\n";
        ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0) << std::strerror(errno);
        fs::create_directory(folder.path() / "token");
        ASSERT_EQ(mount("none", (folder.path() / "token").c_str(), "tmpfs", 0, "size=256k,mode=0700"), 0)
            << std::strerror(errno);
        mounted = true;
        ASSERT_EQ(initialise(), CKR_OK);
        ASSERT_EQ(generateKeyPair(), CKR_OK);
        const RawToken token;
        ASSERT_CKR(token.login(userPin), CKR_OK);
        ASSERT_CKR(token.create("before"), CKR_OK);
    }

    void TearDown() override
    {
        if (mounted) {
            EXPECT_EQ(umount2((folder.path() / "token").c_str(), MNT_DETACH), 0);
        }
    }

    bool mounted = false;

    fs::path filler() const { return folder.path() / "token" / "filler"; }

    /// Leaves room for so many blocks.
    void fill(long blocks) const
    {
        const int file = open(filler().c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
        ASSERT_GE(file, 0);
        const Bytes block(4096, 0xFF);
        off_t size = 0;
        for (ssize_t written = 0; (written = write(file, block.data(), block.size())) > 0;)
            size += written;
        ASSERT_EQ(errno, ENOSPC);
        ASSERT_EQ(ftruncate(file, std::max<off_t>(0, size - blocks * 4096)), 0);
        ASSERT_EQ(close(file), 0);
    }

    void empty() const { fs::remove(filler()); }
};

bool isValid(const std::string& pin)
{
    const RawToken token;
    const CK_RV rv = token.login(pin);
    EXPECT_TRUE(rv == CKR_OK || rv == CKR_PIN_INCORRECT) << scripted::codeName(rv);
    return rv == CKR_OK;
}

constexpr long mostBlocks = 16;

TEST_F(FullDisk, ChangesThePinOrDoesNot)
{
    std::string pin = userPin;
    int refused = 0;
    for (long blocks = 0; blocks <= mostBlocks; ++blocks) {
        SCOPED_TRACE(blocks);
        const std::string next = "pin with " + std::to_string(blocks);
        fill(blocks);
        const CK_RV rv = changePin(pin, next);
        empty();
        EXPECT_EQ(isValid(next), rv == CKR_OK);
        EXPECT_EQ(isValid(pin), rv != CKR_OK);
        if (rv == CKR_OK)
            pin = next;
        else
            ++refused;
    }
    EXPECT_NE(pin, userPin) << "with room it works";
    EXPECT_GT(refused, 0) << "without, it does not";
}

TEST_F(FullDisk, MakesAnObjectOrDoesNot)
{
    int refused = 0;
    for (long blocks = 0; blocks <= mostBlocks; ++blocks) {
        SCOPED_TRACE(blocks);
        const std::string label = std::to_string(blocks);
        CK_RV rv = CKR_GENERAL_ERROR;
        {
            const RawToken token;
            ASSERT_CKR(token.login(userPin), CKR_OK);
            fill(blocks);
            rv = token.create(label);
            EXPECT_EQ(token.objects().count(label) == 1, rv == CKR_OK);
        }
        refused += rv == CKR_OK ? 0 : 1;
        empty();
        const RawToken token;
        ASSERT_CKR(token.login(userPin), CKR_OK);
        const auto objects = token.objects();
        EXPECT_EQ(objects.count(label) == 1, rv == CKR_OK);
        ASSERT_EQ(objects.count("before"), 1U);
        for (const auto& [each, object] : objects)
            EXPECT_EQ(token.value(object), RawToken::valueFor(each));
        if (rv == CKR_OK) {
            EXPECT_CKR(token.destroy(objects.at(label)), CKR_OK);
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, mostBlocks);
}

TEST_F(FullDisk, AltersAnObjectOrDoesNot)
{
    std::string label = "before";
    int refused = 0;
    for (long blocks = 0; blocks <= mostBlocks; ++blocks) {
        SCOPED_TRACE(blocks);
        const std::string next = "with " + std::to_string(blocks);
        CK_RV rv = CKR_GENERAL_ERROR;
        {
            const RawToken token;
            ASSERT_CKR(token.login(userPin), CKR_OK);
            const auto objects = token.objects();
            fill(blocks);
            rv = token.relabel(objects.at(label), next);
        }
        empty();
        refused += rv == CKR_OK ? 0 : 1;
        label = rv == CKR_OK ? next : label;
        const RawToken token;
        ASSERT_CKR(token.login(userPin), CKR_OK);
        ASSERT_EQ(token.objects().count(label), 1U) << scripted::codeName(rv);
        EXPECT_EQ(token.value(token.objects().at(label)), RawToken::valueFor("before"));
    }
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, mostBlocks);
}

TEST_F(FullDisk, InitialisesTheTokenOrDoesNot)
{
    ASSERT_EQ(changePin(userPin, otherPin), CKR_OK);
    int refused = 0;
    CK_RV rv = CKR_GENERAL_ERROR;
    for (long blocks = 0; rv != CKR_OK && blocks <= mostBlocks; ++blocks) {
        SCOPED_TRACE(blocks);
        fill(blocks);
        rv = initialise();
        empty();
        refused += rv == CKR_OK ? 0 : 1;
        EXPECT_EQ(isValid(userPin), rv == CKR_OK);
        EXPECT_EQ(isValid(otherPin), rv != CKR_OK);
        const RawToken token;
        ASSERT_CKR(token.login(rv == CKR_OK ? userPin : otherPin), CKR_OK);
        EXPECT_EQ(token.objects().size(), rv == CKR_OK ? 0U : 1U);
    }
    EXPECT_EQ(rv, CKR_OK);
    EXPECT_GT(refused, 0);
}

TEST_F(FullDisk, IsReadAllTheSame)
{
    fill(0);
    EXPECT_TRUE(isValid(userPin));
    EXPECT_FALSE(isValid(otherPin));
    Bytes csr;
    EXPECT_EQ(request(csr), CKR_OK);
    EXPECT_TRUE(isValid(userPin));
    empty();
    EXPECT_TRUE(isValid(userPin));
}

} // namespace
} // namespace endtoend
