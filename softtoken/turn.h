// SPDX-License-Identifier: Apache-2.0
// One call's turn in the store.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// The store locked for one call. Whatever a dead process left unfinished is put right, and where another process has
/// initialised the token, it is opened anew. Without an open store nothing happens: SoftHSM2 says that it is not
/// initialised.
class Turn {
public:
    explicit Turn(const CK_FUNCTION_LIST& softHsm);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

} // namespace softtoken
