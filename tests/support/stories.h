// SPDX-License-Identifier: Apache-2.0
// Pieces for the expected story of a call: what most calls do before and after their own job.
#pragma once

#include "tests/support/names.h"

#include <initializer_list>
#include <string>

namespace stories {

// --- The module ---

inline const std::string loaded = "module loaded\n"
                                  "C_GetFunctionList: CKR_OK\n"
                                  "C_Initialize(null): CKR_OK\n"
                                  "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n";

inline const std::string slotFound = "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK\n"
                                     "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK\n"
                                     "C_GetSlotInfo(slot 7): CKR_OK\n";

inline const std::string unloaded = "C_Finalize(null): CKR_OK\n"
                                    "module unloaded\n";

// --- The session ---

inline const std::string opened =
    "C_OpenSession(slot 7, flags 0x6, application null, notify null) -> session 41: CKR_OK\n";
inline const std::string closed = "C_CloseSession(session 41): CKR_OK\n";

/// C_Login with these arguments ("CKU_SO, PIN null [0]").
[[nodiscard]] inline std::string login(const std::string& arguments, CK_RV code = CKR_OK)
{
    return "C_Login(session 41, " + arguments + "): " + scripted::codeName(code) + "\n";
}

inline const std::string userAndPin = "CKU_USER, PIN \"12345678\" [8]";

/// An operation in the user's session, from opening to closing.
[[nodiscard]] inline std::string inSession(const std::string& job)
{
    return opened + login(userAndPin) + job + closed;
}

/// An operation that ends with its login.
[[nodiscard]] inline std::string loginRefused(const std::string& arguments, CK_RV code)
{
    return opened + login(arguments, code) + closed + "| Login failed. Code: " + std::to_string(code) + "\n";
}

/// An operation that ends quietly after an earlier login.
inline const std::string endedByEarlierLogin = opened + login(userAndPin, CKR_USER_ALREADY_LOGGED_IN) + closed;

// --- Searches ---

[[nodiscard]] inline std::string searchStarted(const std::string& attributes)
{
    return "C_FindObjectsInit(session 41, " + attributes + "): CKR_OK\n";
}

inline const std::string findNext = "C_FindObjects(session 41, room for 1)";

/// One step of a search: the handle found, or "" for none.
[[nodiscard]] inline std::string next(const std::string& handle)
{
    return findNext + " -> {" + handle + "}: CKR_OK\n";
}

inline const std::string searchEnded = "C_FindObjectsFinal(session 41): CKR_OK\n";

/// A whole search for one object.
[[nodiscard]] inline std::string found(const std::string& attributes, const std::string& handle)
{
    return searchStarted(attributes) + next(handle) + searchEnded;
}

/// A search that finds nothing; `number` is " #1" and the like.
[[nodiscard]] inline std::string missed(const std::string& attributes, const std::string& number = "")
{
    return searchStarted(attributes) + next("") + "| C_FindObjects object not found" + number + ". Code: 0\n" +
           searchEnded;
}

/// A whole search for all objects, which finds these.
[[nodiscard]] inline std::string allFound(std::initializer_list<const char*> handles)
{
    std::string story = searchStarted("null [0]");
    for (const char* handle : handles)
        story += next(handle);
    return story + next("") + searchEnded;
}

} // namespace stories
