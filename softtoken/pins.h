// SPDX-License-Identifier: Apache-2.0
// PINs: tried against what the store holds now, and counted where that is wanted.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

CK_RV login(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_USER_TYPE userType, CK_UTF8CHAR_PTR pin,
            CK_ULONG pinLen);
void initPin(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR pin, CK_ULONG pinLen);
void setPin(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR oldPin, CK_ULONG oldLen,
            CK_UTF8CHAR_PTR newPin, CK_ULONG newLen);

/// Has SoftHSM2 read the PINs again where another process has changed them. Nobody is logged in then.
void readPinsAgain(const CK_FUNCTION_LIST& softHsm);

/// Unlocks the user's PIN.
void forgiveTries();

/// Marks in a token's information how many tries are left.
void showTries(CK_TOKEN_INFO& info);

} // namespace softtoken
