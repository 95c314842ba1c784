// SPDX-License-Identifier: Apache-2.0
// The function list: SoftHSM2's functions behind the gate, some replaced, and the five vendor functions behind them.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Made at compile time, so that it is there before and after everything else, and in a forked child.
extern CK_TOVR_FUNCTION_LIST functionList;

/// C_GetFunctionList
CK_RV getFunctionList(CK_FUNCTION_LIST_PTR_PTR list);

} // namespace softtoken
