// SPDX-License-Identifier: Apache-2.0
// The token's one reader: the same slot under the same name, whether the token is blank or initialised.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

void getInfo(const CK_FUNCTION_LIST& softHsm, CK_INFO_PTR info);
void getSlotList(const CK_FUNCTION_LIST& softHsm, CK_BBOOL tokenPresent, CK_SLOT_ID_PTR slots, CK_ULONG_PTR count);
void getSlotInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_SLOT_INFO_PTR info);
void getTokenInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_TOKEN_INFO_PTR info);
void getSessionInfo(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_SESSION_INFO_PTR info);

/// C_InitToken, after which the user's PIN is 12345678: SoftHSM2 alone would leave the token without one.
void initToken(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_UTF8CHAR_PTR pin, CK_ULONG pinLen,
               CK_UTF8CHAR_PTR label);

} // namespace softtoken
