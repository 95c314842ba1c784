// SPDX-License-Identifier: Apache-2.0
// How a call ends early.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Thrown with the code that the caller gets.
struct Failure {
    CK_RV code;
};

inline void check(CK_RV rv)
{
    if (rv != CKR_OK)
        throw Failure{rv};
}

inline void require(bool condition, CK_RV code)
{
    check(condition ? CKR_OK : code);
}

} // namespace softtoken
