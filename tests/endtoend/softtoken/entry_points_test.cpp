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
    ~EntryPoints() override { EXPECT_EQ(0, dlclose(handle)); }

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
    EXPECT_EQ((std::vector<std::string>{"C_GetFunctionList", "C_GetInterface", "C_GetInterfaceList"}),
              symbols(folder, SOFTTOKEN_FILE));
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
            if (!symbol)
                continue;
            Dl_info where = {};
            EXPECT_NE(0, dladdr(symbol, &where));
            EXPECT_TRUE(std::filesystem::equivalent(SOFTTOKEN_FILE, where.dli_fname)) << name << where.dli_fname;
            ++lookedUp;
        }
    }
    EXPECT_LE(3U, lookedUp);
}

TEST_F(EntryPoints, HaveNoListForANullPointer)
{
    EXPECT_CKR(CKR_ARGUMENTS_BAD, lookUp<CK_RV(CK_FUNCTION_LIST**)>("C_GetFunctionList")(nullptr));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, Module()->standard.C_GetFunctionList(nullptr));
}

TEST_F(Interfaces, AreOneListOfVersion240)
{
    const Module module;
    ASSERT_CKR(CKR_OK, get(nullptr, nullptr, 0));
    EXPECT_STREQ("PKCS 11", found->name);
    EXPECT_EQ(module.standard(), found->functions);
    EXPECT_EQ(0U, found->flags);
    EXPECT_EQ(2, found->functions->version.major);
    EXPECT_EQ(40, found->functions->version.minor);
    EXPECT_CKR(CKR_CRYPTOKI_NOT_INITIALIZED, found->functions->C_Finalize(nullptr)) << "asked before anything else";
}

TEST_F(Interfaces, AreFoundByNameAndVersion)
{
    constexpr CK_VERSION version = {2, 40};
    for (const char* name : {static_cast<const char*>(nullptr), "PKCS 11"})
        for (const CK_VERSION* each : {static_cast<const CK_VERSION*>(nullptr), &version}) {
            EXPECT_CKR(CKR_OK, get(name, each, 0));
            EXPECT_TRUE(found);
        }
}

TEST_F(Interfaces, AreRefusedUnderAnotherNameVersionOrFlag)
{
    for (const char* name : {"", "PKCS", "PKCS 11 ", "Vendor"}) {
        EXPECT_CKR(CKR_ARGUMENTS_BAD, get(name, nullptr, 0)) << name;
        EXPECT_FALSE(found);
    }
    for (const CK_VERSION version : {CK_VERSION{3, 0}, CK_VERSION{2, 30}, CK_VERSION{3, 40}})
        EXPECT_CKR(CKR_ARGUMENTS_BAD, get("PKCS 11", &version, 0));
    constexpr CK_FLAGS forkSafe = 1;
    EXPECT_CKR(CKR_ARGUMENTS_BAD, get(nullptr, nullptr, forkSafe));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, getInterface(nullptr, nullptr, nullptr, 0));
}

TEST_F(Interfaces, AreListedInTwoCalls)
{
    CK_ULONG count = 77;
    EXPECT_CKR(CKR_OK, getList(nullptr, &count));
    EXPECT_EQ(1U, count);

    Interface room[2] = {{"untouched", nullptr, 7}, {"untouched", nullptr, 7}};
    count = 0;
    EXPECT_CKR(CKR_BUFFER_TOO_SMALL, getList(room, &count));
    EXPECT_EQ(1U, count);
    EXPECT_STREQ("untouched", room[0].name);

    count = 2;
    EXPECT_CKR(CKR_OK, getList(room, &count));
    EXPECT_EQ(1U, count);
    ASSERT_CKR(CKR_OK, get(nullptr, nullptr, 0));
    EXPECT_EQ(found->functions, room[0].functions);
    EXPECT_STREQ("PKCS 11", room[0].name);
    EXPECT_EQ(0U, room[0].flags);
    EXPECT_STREQ("untouched", room[1].name);

    EXPECT_CKR(CKR_ARGUMENTS_BAD, getList(room, nullptr));
    EXPECT_CKR(CKR_ARGUMENTS_BAD, getList(nullptr, nullptr));
}

} // namespace
} // namespace endtoend
