// SPDX-License-Identifier: Apache-2.0
// How the vendor functions read objects and return their output.
#pragma once

#include "softtoken/failure.h"
#include "softtoken/owned.h"

#include <algorithm>
#include <functional>

namespace softtoken {

/// A caller's session, and SoftHSM2's functions to use it with.
struct Session {
    const CK_FUNCTION_LIST& softHsm;
    CK_SESSION_HANDLE handle;
};

/// Fails with CKR_USER_NOT_LOGGED_IN unless the user is logged in.
void requireUser(const Session& session);

/// Fails with `code` unless the handle is that of an object of this class.
void requireClass(const Session& session, CK_OBJECT_HANDLE object, CK_OBJECT_CLASS wanted, CK_RV code);

/// An attribute's bytes. Empty when the object has no such attribute.
[[nodiscard]] Bytes readBytes(const Session& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type);
CK_ULONG readNumber(const Session& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type);

CK_OBJECT_HANDLE createObject(const Session& session, std::vector<CK_ATTRIBUTE> attributes);

/// Fails with CKR_ARGUMENTS_BAD for a null pointer unless its length or count is 0.
void requireInput(const void* data, CK_ULONG length);

/// A borrowed value as an attribute. PKCS #11 takes it through a pointer to non-const, but only reads it.
CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const void* value, CK_ULONG length);

template <typename Value>
CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const Value& value)
{
    if constexpr (std::is_trivially_copyable_v<Value>)
        return attribute(type, &value, sizeof value);
    else
        return attribute(type, value.data(), value.size());
}

/// Borrowing from a temporary does not compile.
template <typename Value>
CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const Value&& value) = delete;

/// Output of unknown length by two calls (PKCS #11 v2.40, section 5.2).
template <typename Item>
void deliver(const std::vector<Item>& items, Item* room, CK_ULONG_PTR count)
{
    const CK_ULONG available = *count;
    *count = items.size();
    if (!room)
        return;
    require(available >= items.size(), CKR_BUFFER_TOO_SMALL);
    std::copy(items.begin(), items.end(), room);
}

} // namespace softtoken
