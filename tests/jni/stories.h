// SPDX-License-Identifier: Apache-2.0
// Pieces for the expected story of a native call, in addition to those for the module.
#pragma once

#include "tests/support/stories.h"
#include "tests/support/transcript.h"

#include <string>

namespace stories {

// --- Arguments ---

/// A byte[] that is copied whole.
[[nodiscard]] inline std::string copied(const std::string& byteArray, std::size_t length)
{
    return "GetArrayLength(" + byteArray + ")\nGetByteArrayRegion(" + byteArray + ", 0, " + std::to_string(length) +
           ")\n";
}

/// A String whose characters are copied and given back.
[[nodiscard]] inline std::string read(const std::string& string)
{
    return "GetStringUTFChars(" + string + ")\nReleaseStringUTFChars(" + string + ")\n";
}

[[nodiscard]] inline std::string modulePathAndTerminalNameRead()
{
    return read("modulePath") + read("terminalName");
}

/// The arguments of a method that works on a token: `binaries` and `texts` are its own ones.
[[nodiscard]] inline std::string converted(const std::string& binaries, const std::string& texts = "")
{
    return binaries + modulePathAndTerminalNameRead() + texts;
}

/// A String[] whose elements are copied.
[[nodiscard]] inline std::string allRead(const std::string& array, std::size_t length)
{
    std::string story = "GetArrayLength(" + array + ")\n";
    for (std::size_t i = 0; i < length; ++i) {
        const std::string index = std::to_string(i);
        story += "GetObjectArrayElement(" + array + ", " + index + ")\n" + read(array + "[" + index + "]");
    }
    return story;
}

// --- Results ---

/// An ArrayList that receives bytes.
[[nodiscard]] inline std::string delivered(const std::string& list, const scripted::Bytes& bytes)
{
    std::string story = "FindClass(java/lang/Byte)\nFindClass(java/util/ArrayList)\n";
    for (const unsigned char byte : bytes) {
        const std::string value = std::to_string(static_cast<signed char>(byte));
        story += "GetMethodID(java/lang/Byte, <init>, (B)V)\nNewObject(java/lang/Byte, " + value +
                 ")\nGetMethodID(java/util/ArrayList, add, (Ljava/lang/Object;)Z)\nCallVoidMethod(" + list +
                 ".add, Byte " + value + ")\n";
    }
    return story;
}

} // namespace stories
