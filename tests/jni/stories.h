// Pieces from which the expected story of a native call is put together.
#pragma once

#include "tests/support/transcript.h"

#include <string>

namespace stories {

// --- Arguments ---

/// A byte[] that is copied whole.
inline std::string copied(const std::string& byteArray, std::size_t length)
{
    return "GetArrayLength(" + byteArray + ")\nGetByteArrayRegion(" + byteArray + ", 0, " + std::to_string(length) +
           ")\n";
}

/// A String whose characters are copied and given back.
inline std::string read(const std::string& string)
{
    return "GetStringUTFChars(" + string + ")\nReleaseStringUTFChars(" + string + ")\n";
}

inline std::string modulePathAndTerminalNameRead()
{
    return read("modulePath") + read("terminalName");
}

/// A String[] whose elements are copied.
inline std::string allRead(const std::string& array, std::size_t length)
{
    std::string story = "GetArrayLength(" + array + ")\n";
    for (std::size_t i = 0; i < length; ++i) {
        const std::string index = std::to_string(i);
        story += "GetObjectArrayElement(" + array + ", " + index + ")\n" + read(array + "[" + index + "]");
    }
    return story;
}

// --- The module ---

inline std::string loaded()
{
    return "module loaded\n"
           "C_GetFunctionList: CKR_OK\n"
           "C_Initialize(null): CKR_OK\n"
           "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n";
}

inline std::string slotFound()
{
    return "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n"
           "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK\n"
           "C_GetSlotInfo(slot 7): CKR_OK\n";
}

inline std::string sessionOpened()
{
    return "C_OpenSession(slot 7, flags 0x6, application null, notify null) -> session 41: CKR_OK\n";
}

/// The user's session, as far as the operation's own job.
inline std::string loggedIn()
{
    return sessionOpened() + "C_Login(session 41, CKU_USER, PIN \"12345678\" [8]): CKR_OK\n";
}

inline std::string sessionClosed()
{
    return "C_CloseSession(session 41): CKR_OK\n";
}

inline std::string unloaded()
{
    return "C_Finalize(null): CKR_OK\n"
           "module unloaded\n";
}

// --- Results ---

/// An ArrayList that receives bytes.
inline std::string delivered(const std::string& list, const scripted::Bytes& bytes)
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
