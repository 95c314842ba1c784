// SPDX-License-Identifier: Apache-2.0
// Which of other people's modules have the functions beyond the standard: none has.
#include "tests/session/bound_natives.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace {

/// Whether a module has them, asked right after its loading.
bool hasVendorFunctions(const std::string& file)
{
    // The spy has a function list only where it has a module to spy upon.
    EXPECT_EQ(setenv("PKCS11SPY", SPIED_MODULE, 1) + setenv("PKCS11SPY_OUTPUT", "/dev/null", 1), 0);
    StrictJniEnv java;
    const BoundNatives natives(java);
    const jobject call = java.call();
    const jlong module = natives.load(java.get(), call, java.bytes({file.begin(), file.end()}));
    EXPECT_NE(module, 0) << file
                         << " cannot be loaded: " << (java.reports.empty() ? java.exception : java.reports[0].lines);
    if (module == 0)
        return false;
    const bool answer = natives.hasVendorFunctions(java.get(), call, module) == JNI_TRUE;
    natives.unload(java.get(), call, module);
    return answer;
}

std::vector<std::string> foreignModules()
{
    std::vector<std::string> files;
    std::istringstream list(FOREIGN_MODULES);
    for (std::string file; std::getline(list, file, ':');)
        files.push_back(file);
    return files;
}

class ForeignModule : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Every, ForeignModule, testing::ValuesIn(foreignModules()));

TEST_P(ForeignModule, HasNoVendorFunctions)
{
    EXPECT_FALSE(hasVendorFunctions(GetParam()));
}

#ifdef SOFTTOKEN_FILE
TEST(SoftwareToken, HasVendorFunctions)
{
    EXPECT_TRUE(hasVendorFunctions(SOFTTOKEN_FILE));
}
#endif

} // namespace
