// SPDX-License-Identifier: Apache-2.0
// One call's turn in the store.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Locks the store for one call. Repairs what a dead process left unfinished, and opens the token anew if another
/// process has initialised it. Fails with CKR_CRYPTOKI_NOT_INITIALIZED when no store is open: if SoftHSM2 runs all the
/// same, the program itself has started it, on a store of its own.
class Turn {
public:
    explicit Turn(const CK_FUNCTION_LIST& softHsm);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

} // namespace softtoken
