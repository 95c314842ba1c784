// SPDX-License-Identifier: Apache-2.0
// Calls that write to the store. Each is done whole and on the disk before it answers CKR_OK, or leaves the store as it
// was, even where its process dies.
#pragma once

#include "softtoken/objects.h"

namespace softtoken {

using Job = std::function<void()>;

/// Where a call makes its objects.
enum class Place { session, token };

/// That of an object made from this template.
Place placeOf(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/// A job that makes objects. When it fails, or what it made is not on the disk, they are gone: SoftHSM2 leaves an
/// object half-made when it refuses an entry of its template.
void allOrNothing(const Session& session, Place place, const Job& job);

/// A job that alters an object.
void alterObject(const Session& session, CK_OBJECT_HANDLE object, const Job& job);

/// A job that destroys one.
void destroyObject(const Job& job);

/// A job that logs in, which SoftHSM2 notes in the token's file.
void writeLogin(const Job& job);

/// A job that changes a PIN.
void changePin(const Job& job);

/// A job that initialises the token.
void changeToken(const Job& job);

} // namespace softtoken
