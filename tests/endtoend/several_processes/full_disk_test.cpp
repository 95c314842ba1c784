// SPDX-License-Identifier: Apache-2.0
// A disk without room: what is answered with 0 has been done, what is not has not, and the token stays readable.
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
            ASSERT_EQ(EPERM, errno);
            GTEST_SKIP() << "needs a mount namespace: root, or leave to make user namespaces";
        }
        if (user != 0)
            std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1\n";
        ASSERT_EQ(0, mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr)) << std::strerror(errno);
        fs::create_directory(folder.path() / "token");
        ASSERT_EQ(0, mount("none", (folder.path() / "token").c_str(), "tmpfs", 0, "size=256k,mode=0700"))
            << std::strerror(errno);
        mounted = true;
        ASSERT_EQ(CKR_OK, initialise());
        ASSERT_EQ(CKR_OK, generateKeyPair());
        const RawToken token;
        ASSERT_CKR(CKR_OK, token.login(userPin));
        ASSERT_CKR(CKR_OK, token.create("before"));
    }

    void TearDown() override
    {
        if (mounted) {
            EXPECT_EQ(0, umount2((folder.path() / "token").c_str(), MNT_DETACH));
        }
    }

    bool mounted = false;

    fs::path filler() const { return folder.path() / "token" / "filler"; }

    /// Leaves room for so many blocks.
    void fill(long blocks) const
    {
        const int file = open(filler().c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
        ASSERT_LE(0, file);
        const Bytes block(4096, 0xFF);
        off_t size = 0;
        for (ssize_t written = 0; (written = write(file, block.data(), block.size())) > 0;)
            size += written;
        ASSERT_EQ(ENOSPC, errno);
        ASSERT_EQ(0, ftruncate(file, std::max<off_t>(0, size - blocks * 4096)));
        ASSERT_EQ(0, close(file));
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
        EXPECT_EQ(rv == CKR_OK, isValid(next));
        EXPECT_EQ(rv != CKR_OK, isValid(pin));
        if (rv == CKR_OK)
            pin = next;
        else
            ++refused;
    }
    EXPECT_NE(userPin, pin) << "with room it works";
    EXPECT_LT(0, refused) << "without, it does not";
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
            ASSERT_CKR(CKR_OK, token.login(userPin));
            fill(blocks);
            rv = token.create(label);
            EXPECT_EQ(rv == CKR_OK, token.objects().count(label) == 1);
        }
        refused += rv == CKR_OK ? 0 : 1;
        empty();
        const RawToken token;
        ASSERT_CKR(CKR_OK, token.login(userPin));
        const auto objects = token.objects();
        EXPECT_EQ(rv == CKR_OK, objects.count(label) == 1);
        ASSERT_EQ(1U, objects.count("before"));
        for (const auto& [each, object] : objects)
            EXPECT_EQ(RawToken::valueFor(each), token.value(object));
        if (rv == CKR_OK) {
            EXPECT_CKR(CKR_OK, token.destroy(objects.at(label)));
        }
    }
    EXPECT_LT(0, refused);
    EXPECT_GT(mostBlocks, refused);
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
            ASSERT_CKR(CKR_OK, token.login(userPin));
            const auto objects = token.objects();
            fill(blocks);
            rv = token.relabel(objects.at(label), next);
        }
        empty();
        refused += rv == CKR_OK ? 0 : 1;
        label = rv == CKR_OK ? next : label;
        const RawToken token;
        ASSERT_CKR(CKR_OK, token.login(userPin));
        ASSERT_EQ(1U, token.objects().count(label)) << scripted::codeName(rv);
        EXPECT_EQ(RawToken::valueFor("before"), token.value(token.objects().at(label)));
    }
    EXPECT_LT(0, refused);
    EXPECT_GT(mostBlocks, refused);
}

TEST_F(FullDisk, InitialisesTheTokenOrDoesNot)
{
    ASSERT_EQ(CKR_OK, changePin(userPin, otherPin));
    int refused = 0;
    CK_RV rv = CKR_GENERAL_ERROR;
    for (long blocks = 0; rv != CKR_OK && blocks <= mostBlocks; ++blocks) {
        SCOPED_TRACE(blocks);
        fill(blocks);
        rv = initialise();
        empty();
        refused += rv == CKR_OK ? 0 : 1;
        EXPECT_EQ(rv == CKR_OK, isValid(userPin));
        EXPECT_EQ(rv != CKR_OK, isValid(otherPin));
        const RawToken token;
        ASSERT_CKR(CKR_OK, token.login(rv == CKR_OK ? userPin : otherPin));
        EXPECT_EQ(rv == CKR_OK ? 0U : 1U, token.objects().size());
    }
    EXPECT_EQ(CKR_OK, rv);
    EXPECT_LT(0, refused);
}

TEST_F(FullDisk, IsReadAllTheSame)
{
    fill(0);
    EXPECT_TRUE(isValid(userPin));
    EXPECT_FALSE(isValid(otherPin));
    Bytes csr;
    EXPECT_EQ(CKR_OK, request(csr));
    EXPECT_TRUE(isValid(userPin));
    empty();
    EXPECT_TRUE(isValid(userPin));
}

} // namespace
} // namespace endtoend
