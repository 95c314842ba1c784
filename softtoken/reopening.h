// SPDX-License-Identifier: Apache-2.0
// SoftHSM2 reads tokens and PINs once, when it is initialised. If another process has changed them, it has to be
// initialised again.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Finalises SoftHSM2 and initialises it again on the same store. Sessions stay open under their handles, unless the
/// token is blank now, but nobody is logged in. Searches, unfinished operations and session objects are gone. Object
/// handles become invalid, and none is used again for another object.
void reopen(const CK_FUNCTION_LIST& softHsm);

} // namespace softtoken
