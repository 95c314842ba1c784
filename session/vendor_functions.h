// SPDX-License-Identifier: Apache-2.0
// Whether a module has the functions beyond the standard.
#pragma once

#include "p11/diagnostics.h"
#include "p11/outcome.h"

#include <p11-kit/pkcs11.h>

/// Looks at the five pointers behind a standard function list, without calling anything. They are there only when each
/// leads into an executable segment of the file that has the module's C_Initialize, and when not so many follow that
/// all are functions of PKCS #11 v3.0. What lies behind a shorter list (nothing, or anything) is read without risk;
/// where this process has no file descriptors left for that, it fails.
Outcome findVendorFunctions(CK_FUNCTION_LIST_PTR functions, const Diagnostics& lines, bool& found);
