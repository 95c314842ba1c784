// SPDX-License-Identifier: Apache-2.0
#include "softtoken/slot.h"

#include "softtoken/failure.h"

#include <algorithm>
#include <vector>

namespace softtoken {
namespace {

bool holdsToken(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot)
{
    CK_TOKEN_INFO info;
    return softHsm.C_GetTokenInfo(slot, &info) == CKR_OK && (info.flags & CKF_TOKEN_INITIALIZED);
}

} // namespace

// SoftHSM2 numbers its slots anew when a token appears and always lists a blank one behind it.
CK_SLOT_ID softHsmSlot(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot)
{
    CK_ULONG count = 0;
    check(softHsm.C_GetSlotList(CK_FALSE, nullptr, &count));
    require(slot == readerSlot, CKR_SLOT_ID_INVALID);
    std::vector<CK_SLOT_ID> slots(count);
    check(softHsm.C_GetSlotList(CK_FALSE, slots.data(), &count));
    require(!slots.empty(), CKR_DEVICE_ERROR);
    const auto found =
        std::find_if(slots.begin(), slots.end(), [&](CK_SLOT_ID each) { return holdsToken(softHsm, each); });
    return found == slots.end() ? slots.back() : *found;
}

} // namespace softtoken
