// SPDX-License-Identifier: Apache-2.0
// A module with a function that nobody defines: it can be loaded lazily, but not with all symbols resolved at once.
#include <p11-kit/pkcs11.h>

extern "C" CK_RV definedByNobody(void);

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR)
{
    return definedByNobody();
}
