// SPDX-License-Identifier: Apache-2.0
// A module that claims success and delivers no function list.
#include <p11-kit/pkcs11.h>

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    *list = nullptr;
    return CKR_OK;
}
