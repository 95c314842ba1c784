// SPDX-License-Identifier: Apache-2.0
// What the tests of the open token's natives share: a token in a scripted module, a JNI environment, and what a call
// has done to either.
#pragma once

#include "tests/session/StrictJniEnv.h"
#include "tests/session/bound_natives.h"

#include "tests/support/scripted_module.h"
#include "tests/support/scripted_module_file.h"
#include "tests/support/scripted_pcsc.h"
#include "tests/support/stories.h"
#include "tests/support/told.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

class Scene {
public:
    using Bytes = scripted::Bytes;

    Scene() = default;
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// Loads and initialises the scripted module.
    void load();

    /// Loads, opens a session and logs in.
    void open();

    /// Calls a native; the members below tell afterwards what happened. Anything printed fails the test.
    template <typename Result, typename... Parameters, typename... Arguments>
    Result call(Result (*native)(JNIEnv*, jobject, Parameters...), Arguments... arguments)
    {
        const jobject receiver = java.call();
        return observed([&] { return native(java.get(), receiver, arguments...); });
    }

    /// A call whose result is a byte[].
    template <typename... Parameters, typename... Arguments>
    std::optional<Bytes> fetch(jbyteArray (*native)(JNIEnv*, jobject, Parameters...), Arguments... arguments)
    {
        const jobject receiver = java.call();
        return observed([&] { return java.content(native(java.get(), receiver, arguments...)); });
    }

    [[nodiscard]] jbyteArray bytes(const std::string& text) { return java.bytes(scripted::bytesOf(text)); }
    [[nodiscard]] jbyteArray bytes(Bytes content) { return java.bytes(std::move(content)); }

    scripted::Transcript transcript;
    scripted::ScriptedModule module{transcript};
    scripted::ScriptedPcsc pcsc{transcript};
    StrictJniEnv java;
    const BoundNatives natives{java};

    jlong loaded = 0;  ///< what load() has brought
    jlong session = 0; ///< what open() has brought

    // --- Of the last call ---

    std::string story; ///< its calls of the module, the loader and PC/SC

    /// What it reported, or "" for nothing: "CKR_PIN_INCORRECT in C_Login\n" for a failure, then its lines.
    std::string told;

    /// The Java exception that it left, or "" for none.
    std::string thrown;

private:
    template <typename Call>
    auto observed(const Call& native)
    {
        begin();
        scripted::CapturedOutput output;
        auto finish = [&] {
            output.release();
            end(output.out() + output.err());
        };
        if constexpr (std::is_void_v<decltype(native())>) {
            native();
            finish();
        } else {
            auto result = native();
            finish();
            return result;
        }
    }

    void begin();
    void end(const std::string& printed);
};

class SessionTest : public testing::Test, public Scene {
protected:
    using Bytes = Scene::Bytes;
};

/// What `told` is for a failure.
[[nodiscard]] std::string failure(CK_RV code, const std::string& step, const std::string& lines = "");

/// How a job asks whether the login is still there, and then whether the card is.
inline const std::string loginAskedFor = "C_GetSessionInfo(session 41): CKR_OK\n";
inline const std::string cardAskedFor = "C_GetSlotInfo(slot 7): CKR_OK\n";

// --- Packed results ---

/// The fields of a packed result.
[[nodiscard]] std::vector<std::string> fieldsOf(const std::optional<Scene::Bytes>& packed);

/// The field of a number.
[[nodiscard]] std::string numberField(CK_ULONG number);
