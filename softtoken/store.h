// SPDX-License-Identifier: Apache-2.0
// The store, a directory of SoftHSM2 objects, and SoftHSM2 itself, loaded at first use.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// SoftHSM2's functions. They stay loaded until this module is unloaded.
const CK_FUNCTION_LIST& softHsm();

/// Whether SoftHSM2 is initialised. C_GetInfo tells it: the call needs no slot and no session.
[[nodiscard]] bool isInitialised(const CK_FUNCTION_LIST& softHsm);

/// C_Initialize: prepares the directory that the environment names, repairs what a dead process left unfinished in it,
/// and starts SoftHSM2 on it. Reads the environment at every call.
void initialise(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR arguments);

/// C_Finalize
void finalise(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR reserved);

} // namespace softtoken
