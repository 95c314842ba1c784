// SPDX-License-Identifier: Apache-2.0
// One call's turn in the store.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Locks the store for one call. Repairs what a dead process left unfinished, and opens the token anew if another
/// process has initialised it. Does nothing when no store is open: SoftHSM2 then answers CKR_CRYPTOKI_NOT_INITIALIZED.
class Turn {
public:
    explicit Turn(const CK_FUNCTION_LIST& softHsm);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

} // namespace softtoken
