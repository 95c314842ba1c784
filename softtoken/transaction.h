// SPDX-License-Identifier: Apache-2.0
// Calls that write to the store. Each change is done whole or not at all, even if its process dies. It is on the disk
// before the call answers CKR_OK.
#pragma once

#include "softtoken/objects.h"

namespace softtoken {

using Job = std::function<void()>;

/// Where a call makes its objects.
enum class Place { session, token };

/// The place of an object made from this template.
Place placeOf(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/// A job that makes objects. If it fails, or its objects cannot be written to the disk, they are removed. SoftHSM2
/// alone leaves a half-made object behind when it refuses an entry of the template.
void allOrNothing(const Session& session, Place place, const Job& job);

/// A job that changes an object.
void alterObject(const Session& session, CK_OBJECT_HANDLE object, const Job& job);

/// A job that destroys an object, which may be gone even if the call fails.
void destroyObject(const Job& job);

/// A job that logs in. SoftHSM2 rewrites the token's file then.
void writeLogin(const Job& job);

/// A job that changes a PIN.
void changePin(const Job& job);

/// A job that initialises the token.
void changeToken(const Job& job);

} // namespace softtoken
