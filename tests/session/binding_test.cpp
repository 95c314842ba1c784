// SPDX-License-Identifier: Apache-2.0
// How the natives come to their Java class. That each is bound, with the right types, every test of this program shows.
#include "tests/session/bound_natives.h"

#include <gtest/gtest.h>

namespace {

TEST(Binding, RegistersNothingBeyondTheNatives)
{
    StrictJniEnv java;
    const BoundNatives natives(java);
    EXPECT_EQ(java.registered.size(), sizeof natives / sizeof(void*));
}

TEST(Binding, LeavesTheExceptionOfAClassThatLacksAMethod)
{
    StrictJniEnv java;
    java.failCall(1);
    Java_com_tovr_smartcard_vornixtoken_NativeCall_bind(java.get(), java.callClass());
    EXPECT_EQ(java.exception, "thrown by RegisterNatives");
}

} // namespace
