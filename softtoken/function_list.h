// SPDX-License-Identifier: Apache-2.0
// The function list: SoftHSM2's functions behind the gate, some of them replaced, then the five vendor functions.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Initialised at compile time: it is valid before any constructor runs, after every destructor, and in a forked child.
extern CK_TOVR_FUNCTION_LIST functionList;

/// C_GetFunctionList
CK_RV getFunctionList(CK_FUNCTION_LIST_PTR_PTR list);

} // namespace softtoken
