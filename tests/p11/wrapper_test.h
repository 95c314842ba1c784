// SPDX-License-Identifier: Apache-2.0
// What the tests of P11Wrapper share: a wrapper on the scripted module, and the arguments of its operations.
#pragma once

#include "p11/P11Wrapper.h"
#include "tests/support/ckr.h"
#include "tests/support/scripted_module.h"
#include "tests/support/scripted_module_file.h"
#include "tests/support/stories.h"
#include "tests/support/told.h"

#include <gtest/gtest.h>

#include <string>

namespace scripted {

/// Bytes as the non-const pointer and length that the operations take.
struct Buffer {
    Bytes bytes;

    Buffer(const char* text) : bytes(bytesOf(text)) {}
    Buffer(Bytes given) : bytes(std::move(given)) {}

    unsigned char* data() { return bytes.empty() ? nullptr : bytes.data(); }
    [[nodiscard]] unsigned long size() const { return bytes.size(); }
};

inline constexpr CK_SLOT_ID slotId = 7;

/// A code that only 64 bits hold: 18446744073709551615.
inline constexpr CK_RV widestCode = ~CK_RV{0};

/// Starts with an initialised wrapper and an empty transcript.
class WrapperTest : public testing::Test {
protected:
    WrapperTest()
    {
        EXPECT_TRUE(token.Initialize());
        transcript.clear();
    }

    template <class Job>
    std::string story(Job&& job)
    {
        return storyOf(transcript, std::forward<Job>(job));
    }

    Transcript transcript;
    ScriptedModule module{transcript};
    P11Wrapper token{moduleFile};
    Buffer pin = "12345678";
    CK_RV rv = widestCode; // no operation under test returns this code
};

} // namespace scripted
