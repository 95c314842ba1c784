// SPDX-License-Identifier: Apache-2.0
// What the tests of the native methods share: a token in a scripted module, a JNI environment, and one transcript for
// everything that a call does to either.
#pragma once

#include "tests/jni/RecordingJniEnv.h"
#include "tests/jni/natives.h"
#include "tests/jni/stories.h"

#include "tests/support/scripted_module.h"
#include "tests/support/scripted_module_file.h"
#include "tests/support/told.h"

#include <gmock/gmock.h>

#include <functional>
#include <future>
#include <iostream>
#include <sstream>
#include <string>

class NativeMethodTest : public ::testing::Test {
protected:
    using Bytes = RecordingJniEnv::Bytes;
    using Lines = RecordingJniEnv::Lines;

    /// Calls a native method; `story` tells afterwards what happened. The receiver is a null handle: no
    /// method may look at it.
    template <typename Result, typename... Parameters, typename... Arguments>
    Result call(Result (*native)(JNIEnv*, jobject, Parameters...), Arguments... arguments)
    {
        return run([&] { return native(jni.get(), nullptr, arguments...); });
    }

    template <typename Call>
    auto run(const Call& native)
    {
        std::packaged_task<decltype(native())()> task(std::ref(native));
        auto result = task.get_future();
        story = scripted::storyOf(transcript, task);
        if (HasFailure())
            std::cout << story; // with what GoogleTest reported while standard output was captured
        return result.get();    // or what was thrown
    }

    /// The last call's story between slot lookup and unloading. What surrounds it is the same for all methods, and
    /// the tests of the frame show it. A story without these marks is returned whole.
    [[nodiscard]] std::string job() const
    {
        const std::size_t begin = story.find(stories::slotFound);
        const std::size_t end = story.rfind(stories::unloaded);
        if (begin == std::string::npos || end == std::string::npos)
            return story;
        const std::size_t start = begin + stories::slotFound.size();
        return story.substr(start, end - start);
    }

    /// The lines written to standard output.
    [[nodiscard]] Lines printed() const
    {
        Lines lines;
        std::istringstream text(story);
        for (std::string line; std::getline(text, line);)
            if (line.rfind("|", 0) == 0)
                lines.push_back(line.substr(2));
        return lines;
    }

    /// The elements of lists and arrays.
    [[nodiscard]] std::vector<Lines> contents(const std::vector<jobject>& sequences) const
    {
        std::vector<Lines> all;
        for (const jobject sequence : sequences)
            all.push_back(jni.elements(sequence));
        return all;
    }

    scripted::Transcript transcript;
    scripted::ScriptedModule module{transcript};
    RecordingJniEnv jni{transcript};

    jstring terminalName = jni.string("terminalName", "Scripted Reader 0");
    jstring modulePath = jni.string("modulePath", scripted::moduleFile);
    const Bytes userPin = scripted::bytesOf(module.token.userPin);
    jbyteArray pin = jni.bytes("pin", userPin);

    std::string story; ///< of the last call: its calls with the printed lines between them, led by "| "
};

/// A result code as Java receives it.
inline jlong code(CK_RV value)
{
    return static_cast<jlong>(value);
}
