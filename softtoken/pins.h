// SPDX-License-Identifier: Apache-2.0
// Login and PIN changes. A PIN is compared with the one that the store holds now. Wrong user PINs are counted if
// VORNIX_SOFTTOKEN_PIN_TRIES is set.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

[[nodiscard]] CK_RV login(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_USER_TYPE userType,
                          CK_UTF8CHAR_PTR pin, CK_ULONG pinLen);
void initPin(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR pin, CK_ULONG pinLen);
void setPin(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR oldPin, CK_ULONG oldLen,
            CK_UTF8CHAR_PTR newPin, CK_ULONG newLen);

/// Makes SoftHSM2 read the PINs again if another process has changed one. That logs everybody out.
void readPinsAgain(const CK_FUNCTION_LIST& softHsm);

/// Unlocks the user's PIN and forgets its wrong tries.
void forgiveTries();

/// Sets the flags that tell how many tries are left.
void showTries(CK_TOKEN_INFO& info);

} // namespace softtoken
