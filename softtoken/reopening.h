// SPDX-License-Identifier: Apache-2.0
// SoftHSM2 reads tokens and PINs once, when it is initialised. Where another process has changed them, it is
// initialised again.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Finalises SoftHSM2 and initialises it again on the same store. Sessions stay open under their handles, but nobody is
/// logged in any more; searches, unfinished operations and session objects are gone, and no handle of an object is
/// valid, nor will it come to mean another.
void reopen(const CK_FUNCTION_LIST& softHsm);

} // namespace softtoken
