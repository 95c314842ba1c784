// SPDX-License-Identifier: Apache-2.0
// Where the token lives: a directory of SoftHSM2 objects, and SoftHSM2 itself, loaded at first use.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// SoftHSM2's functions. They stay loaded until this module is unloaded.
const CK_FUNCTION_LIST& softHsm();

/// Whether SoftHSM2 runs. C_GetInfo is the one function that asks for nothing else.
bool isInitialised(const CK_FUNCTION_LIST& softHsm);

/// C_Initialize: makes the directory ready that the environment names, puts right what a dead process left unfinished
/// in it, and starts SoftHSM2 on it. The environment is looked up afresh each time.
void initialise(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR arguments);

/// C_Finalize
void finalise(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR reserved);

} // namespace softtoken
