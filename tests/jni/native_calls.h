// SPDX-License-Identifier: Apache-2.0
// Every native method of Pkcs11Wrapper, with arguments with which it succeeds on the sample objects: for tests of what
// holds for all of them.
#pragma once

#include "tests/jni/RecordingJniEnv.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// The arguments that differ from test to test.
struct CommonArguments {
    jstring terminalName;
    jstring modulePath;
    scripted::Bytes pin;    ///< the code that the token knows
    scripted::Bytes newPin; ///< the code that shall replace it
};

/// A call with its Java arguments made.
struct PreparedCall {
    std::function<jlong()> run;
    std::string conversions;           ///< the story of its arguments' conversion
    std::vector<jobject> outputs = {}; ///< the lists and arrays that it fills
};

struct NativeCall {
    const char* name;
    std::size_t secrets; ///< how many of its arguments are PINs
    bool looksUpSlot;
    PreparedCall (*prepare)(RecordingJniEnv& jni, const CommonArguments& common);
};

inline std::ostream& operator<<(std::ostream& stream, const NativeCall& call)
{
    return stream << call.name;
}

/// For the names of parameterised tests.
[[nodiscard]] std::string nameOf(const testing::TestParamInfo<NativeCall>& call);

[[nodiscard]] std::vector<NativeCall> allNativeCalls();
[[nodiscard]] std::vector<NativeCall> nativeCallsWithSlot();
[[nodiscard]] std::vector<NativeCall> nativeCallsWithSecrets();
