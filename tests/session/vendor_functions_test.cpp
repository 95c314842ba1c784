// SPDX-License-Identifier: Apache-2.0
// Which modules have the functions beyond the standard.
#include "tests/session/scene.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace {

using namespace scripted;

class VendorFunctions : public SessionTest {
protected:
    void SetUp() override
    {
        load();
        std::memcpy(&list, reinterpret_cast<const void*>(call(natives.functionList, loaded)), sizeof list);
    }

    /// Whether a module with this list would have them.
    bool areIn(CK_FUNCTION_LIST* functions)
    {
        module.functionList = functions;
        const jlong another = call(natives.load, bytes(moduleFile));
        const bool answer = call(natives.hasVendorFunctions, another) == JNI_TRUE;
        EXPECT_EQ(story + told + thrown, "") << "nothing is called";
        call(natives.unload, another);
        return answer;
    }

    CK_TOVR_FUNCTION_LIST list{};
};

TEST_F(VendorFunctions, OfTheScriptedModuleAreFound)
{
    EXPECT_TRUE(areIn(&list.standard));
}

TEST_F(VendorFunctions, AreNoneWhereAnEntryIsNull)
{
    list.C_TOVR_pkcs7Verify = nullptr;
    EXPECT_FALSE(areIn(&list.standard));
}

TEST_F(VendorFunctions, AreNoneWhereAnEntryIsAnotherFilesCode)
{
    list.C_TOVR_ImportCert = reinterpret_cast<CK_C_TOVR_ImportCert>(dlsym(RTLD_DEFAULT, "dup"));
    EXPECT_FALSE(areIn(&list.standard));
}

TEST_F(VendorFunctions, AreNoneWhereAnEntryIsData)
{
    static int data;
    list.C_TOVR_CreateCSR = reinterpret_cast<CK_C_TOVR_CreateCSR>(&data);
    EXPECT_FALSE(areIn(&list.standard));
}

TEST_F(VendorFunctions, AreNoneWhereAnEntryIsNoAddress)
{
    list.C_TOVR_CreateCSR = reinterpret_cast<CK_C_TOVR_CreateCSR>(~std::uintptr_t{0});
    EXPECT_FALSE(areIn(&list.standard));
}

TEST_F(VendorFunctions, AreNoneWhereTheModulesOwnFunctionsAreNoFilesCode)
{
    list.standard.C_Initialize = reinterpret_cast<CK_C_Initialize>(std::uintptr_t{4096});
    EXPECT_FALSE(areIn(&list.standard));
}

// p11-kit 0.25 says of its list that it has version 2.40, but has the functions of v3.0 in it.
TEST_F(VendorFunctions, AreNoneWhereAllFunctionsOfVersion3Are)
{
    struct {
        CK_FUNCTION_LIST standard;
        std::array<CK_C_Initialize, 24> more;
    } longer{list.standard, {}};
    longer.more.fill(list.standard.C_Initialize);
    EXPECT_FALSE(areIn(&longer.standard));
    longer.more.back() = nullptr;
    EXPECT_TRUE(areIn(&longer.standard)) << "one too few";
}

/// Memory that ends where nothing can be read any more.
class EndingPage {
public:
    EndingPage()
        : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          pages_(mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        EXPECT_NE(pages_, MAP_FAILED);
        EXPECT_EQ(mprotect(static_cast<char*>(pages_) + size_, size_, PROT_NONE), 0);
    }
    ~EndingPage() { munmap(pages_, 2 * size_); }
    EndingPage(const EndingPage&) = delete;
    EndingPage& operator=(const EndingPage&) = delete;

    /// A copy of the list's first bytes, the last of them at the end.
    CK_FUNCTION_LIST* place(const CK_TOVR_FUNCTION_LIST& list, std::size_t bytes)
    {
        return static_cast<CK_FUNCTION_LIST*>(std::memcpy(static_cast<char*>(pages_) + size_ - bytes, &list, bytes));
    }

private:
    std::size_t size_;
    void* pages_;
};

class ListAtTheEndOfAPage : public VendorFunctions, public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(WithSoManyBytesTooFew, ListAtTheEndOfAPage, testing::Values(40, 32, 24, 8));

TEST_P(ListAtTheEndOfAPage, IsReadWithoutRisk)
{
    EndingPage page;
    EXPECT_FALSE(areIn(page.place(list, sizeof list - GetParam())));
}

TEST_F(VendorFunctions, AreNotLookedForWithoutAFileDescriptor)
{
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{0, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    // Directly, because the scene needs descriptors itself.
    const jboolean answer = natives.hasVendorFunctions(java.get(), java.call(), loaded);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(answer, JNI_FALSE);
    ASSERT_EQ(java.reports.size(), 1U);
    EXPECT_EQ(java.reports[0].code, CKR_HOST_MEMORY);
    EXPECT_EQ(java.reports[0].lines, "No pipe to look for vendor functions with: Too many open files\n");
}

TEST_F(VendorFunctions, AreReadToTheLastByteOfAPage)
{
    EndingPage page;
    EXPECT_TRUE(areIn(page.place(list, sizeof list)));
}

} // namespace
