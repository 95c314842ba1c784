// What the tests of P11Wrapper share: a wrapper on the scripted module and the parts that most stories have in common.
#pragma once

#include "p11/P11Wrapper.h"
#include "tests/support/ckr.h"
#include "tests/support/scripted_module.h"
#include "tests/support/scripted_module_file.h"
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
    unsigned long size() const { return bytes.size(); }
};

inline constexpr CK_SLOT_ID slotId = 7;

inline const std::string opened =
    "C_OpenSession(slot 7, flags 0x6, application null, notify null) -> session 41: CKR_OK\n";
inline const std::string loggedIn = "C_Login(session 41, CKU_USER, PIN \"12345678\" [8]): CKR_OK\n";
inline const std::string searchEnded = "C_FindObjectsFinal(session 41): CKR_OK\n";
inline const std::string closed = "C_CloseSession(session 41): CKR_OK\n";

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
    CK_RV rv = widestCode; // a code that no operation is asked to give here
};

} // namespace scripted
