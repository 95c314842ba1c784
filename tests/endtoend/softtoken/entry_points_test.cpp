// SPDX-License-Identifier: Apache-2.0
// What a caller finds in the module's file before it calls anything else.
#include "tests/endtoend/softtoken/soft_token.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <sstream>

namespace endtoend {
namespace {

/// CK_INTERFACE of PKCS #11 v3.0
struct Interface {
    const char* name;
    CK_FUNCTION_LIST* functions;
    CK_FLAGS flags;
};

class EntryPoints : public StoreTest {
protected:
    EntryPoints() : handle(dlopen(SOFTTOKEN_FILE, RTLD_NOW)) { EXPECT_TRUE(handle) << dlerror(); }
    ~EntryPoints() override { EXPECT_EQ(dlclose(handle), 0); }

    template <typename Function>
    Function* lookUp(const char* name) const
    {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }

    void* const handle;
};

class Interfaces : public EntryPoints {
protected:
    CK_RV get(const char* name, const CK_VERSION* version, CK_FLAGS flags)
    {
        found = nullptr;
        return getInterface(reinterpret_cast<const CK_UTF8CHAR*>(name), version, &found, flags);
    }

    CK_RV (*const getList)(Interface*, CK_ULONG*) = lookUp<CK_RV(Interface*, CK_ULONG*)>("C_GetInterfaceList");
    CK_RV(*const getInterface)
    (const CK_UTF8CHAR*, const CK_VERSION*, Interface**,
     CK_FLAGS) = lookUp<CK_RV(const CK_UTF8CHAR*, const CK_VERSION*, Interface**, CK_FLAGS)>("C_GetInterface");
    Interface* found = nullptr;
};

std::vector<std::string> symbols(const Folder& folder, const std::string& file)
{
    const Outcome listed = run(folder, {NM, "--dynamic", "--defined-only", "--format=posix", file});
    std::istringstream lines(listed.out);
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);)
        names.push_back(line.substr(0, line.find_first_of(" @")));
    return names;
}

TEST_F(EntryPoints, AreAllThatTheFileShows)
{
    EXPECT_EQ(symbols(folder, SOFTTOKEN_FILE),
              (std::vector<std::string>{"C_GetFunctionList", "C_GetInterface", "C_GetInterfaceList",
                                        "VORNIX_SOFTTOKEN"})); // their version
}

// A look-up also searches the libraries that the module needs, and one of them may be a PKCS #11 module as well.
TEST_F(EntryPoints, AreNeverThoseOfALibraryThatComesAlong)
{
    std::vector<std::string> files;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* all) {
            static_cast<std::vector<std::string>*>(all)->emplace_back(info->dlpi_name);
            return 0;
        },
        &files);
    std::size_t lookedUp = 0;
    for (const std::string& file : files) {
        if (file.find(".so") == std::string::npos || !std::filesystem::exists(file))
            continue;
        for (const std::string& name : symbols(folder, file)) {
            void* const symbol = name.rfind("C_", 0) == 0 ? dlsym(handle, name.c_str()) : nullptr;
            if (symbol == nullptr)
                continue;
            Dl_info where = {};
            EXPECT_NE(dladdr(symbol, &where), 0);
            EXPECT_TRUE(std::filesystem::equivalent(SOFTTOKEN_FILE, where.dli_fname)) << name << where.dli_fname;
            ++lookedUp;
        }
    }
    EXPECT_GE(lookedUp, 3U);
}

TEST_F(EntryPoints, HaveNoListForANullPointer)
{
    EXPECT_CKR(lookUp<CK_RV(CK_FUNCTION_LIST**)>("C_GetFunctionList")(nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(Module()->standard.C_GetFunctionList(nullptr), CKR_ARGUMENTS_BAD);
}

TEST_F(Interfaces, AreOneListOfVersion240)
{
    const Module module;
    ASSERT_CKR(get(nullptr, nullptr, 0), CKR_OK);
    EXPECT_STREQ(found->name, "PKCS 11");
    EXPECT_EQ(found->functions, module.standard());
    EXPECT_EQ(found->flags, 0U);
    EXPECT_EQ(found->functions->version.major, 2);
    EXPECT_EQ(found->functions->version.minor, 40);
    EXPECT_CKR(found->functions->C_Finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED) << "asked before anything else";
}

TEST_F(Interfaces, AreFoundByNameAndVersion)
{
    constexpr CK_VERSION version = {2, 40};
    for (const char* name : {static_cast<const char*>(nullptr), "PKCS 11"})
        for (const CK_VERSION* each : {static_cast<const CK_VERSION*>(nullptr), &version}) {
            EXPECT_CKR(get(name, each, 0), CKR_OK);
            EXPECT_TRUE(found);
        }
}

TEST_F(Interfaces, AreRefusedUnderAnotherNameVersionOrFlag)
{
    for (const char* name : {"", "PKCS", "PKCS 11 ", "Vendor"}) {
        EXPECT_CKR(get(name, nullptr, 0), CKR_ARGUMENTS_BAD) << name;
        EXPECT_FALSE(found);
    }
    for (const CK_VERSION version : {CK_VERSION{3, 0}, CK_VERSION{2, 30}, CK_VERSION{3, 40}})
        EXPECT_CKR(get("PKCS 11", &version, 0), CKR_ARGUMENTS_BAD);
    constexpr CK_FLAGS forkSafe = 1;
    EXPECT_CKR(get(nullptr, nullptr, forkSafe), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(getInterface(nullptr, nullptr, nullptr, 0), CKR_ARGUMENTS_BAD);
}

TEST_F(Interfaces, AreListedInTwoCalls)
{
    CK_ULONG count = 77;
    EXPECT_CKR(getList(nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 1U);

    Interface room[2] = {{"untouched", nullptr, 7}, {"untouched", nullptr, 7}};
    count = 0;
    EXPECT_CKR(getList(room, &count), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 1U);
    EXPECT_STREQ(room[0].name, "untouched");

    count = 1; // just enough
    EXPECT_CKR(getList(room, &count), CKR_OK);
    EXPECT_EQ(count, 1U);
    ASSERT_CKR(get(nullptr, nullptr, 0), CKR_OK);
    EXPECT_EQ(room[0].functions, found->functions);
    EXPECT_STREQ(room[0].name, "PKCS 11");
    EXPECT_EQ(room[0].flags, 0U);
    EXPECT_STREQ(room[1].name, "untouched");

    EXPECT_CKR(getList(room, nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_CKR(getList(nullptr, nullptr), CKR_ARGUMENTS_BAD);
}

} // namespace
} // namespace endtoend
