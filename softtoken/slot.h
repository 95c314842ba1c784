// SPDX-License-Identifier: Apache-2.0
// The token's one slot, and the slot of SoftHSM2 behind it.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken {

/// Not 0, so that a caller that forgets to look the slot up gets an error.
inline constexpr CK_SLOT_ID readerSlot = 1;

/// SoftHSM2's slot behind the slot that callers see. Any other slot fails with CKR_SLOT_ID_INVALID.
[[nodiscard]] CK_SLOT_ID softHsmSlot(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot = readerSlot);

} // namespace softtoken
