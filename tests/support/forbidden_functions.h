// SPDX-License-Identifier: Apache-2.0
// The standard functions that the library must never call.
#pragma once

#include <p11-kit/pkcs11.h>

namespace scripted {

/// Fills the list with entries that report themselves as forbiddenCall, where ScriptedModule has no function.
void forbidAll(CK_FUNCTION_LIST& list);

} // namespace scripted
