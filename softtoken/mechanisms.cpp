// SPDX-License-Identifier: Apache-2.0
#include "softtoken/mechanisms.h"

#include "softtoken/gost.h"
#include "softtoken/slot.h"
#include "softtoken/transaction.h"

#include <vector>

namespace softtoken {

void getMechanismList(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_MECHANISM_TYPE_PTR mechanisms,
                      CK_ULONG_PTR count)
{
    const CK_SLOT_ID target = softHsmSlot(softHsm, slot);
    require(count, CKR_ARGUMENTS_BAD);
    CK_ULONG length = 0;
    check(softHsm.C_GetMechanismList(target, nullptr, &length));
    std::vector<CK_MECHANISM_TYPE> all(length);
    check(softHsm.C_GetMechanismList(target, all.data(), &length));
    all.push_back(CKM_GOSTR3410_KEY_PAIR_GEN);
    deliver(all, mechanisms, count);
}

void getMechanismInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism,
                      CK_MECHANISM_INFO_PTR info)
{
    const CK_SLOT_ID target = softHsmSlot(softHsm, slot);
    require(info, CKR_ARGUMENTS_BAD);
    if (mechanism == CKM_GOSTR3410_KEY_PAIR_GEN)
        *info = {8 * gostValueLength, 8 * gostValueLength, CKF_GENERATE_KEY_PAIR};
    else
        check(softHsm.C_GetMechanismInfo(target, mechanism, info));
}

void generateKeyPair(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_MECHANISM_PTR mechanism,
                     CK_ATTRIBUTE_PTR publicTemplate, CK_ULONG publicCount, CK_ATTRIBUTE_PTR privateTemplate,
                     CK_ULONG privateCount, CK_OBJECT_HANDLE_PTR publicKey, CK_OBJECT_HANDLE_PTR privateKey)
{
    const Session session = {softHsm, handle};
    const Place place =
        placeOf(publicTemplate, publicCount) == Place::token ? Place::token : placeOf(privateTemplate, privateCount);
    allOrNothing(session, place, [&] {
        if (mechanism && mechanism->mechanism == CKM_GOSTR3410_KEY_PAIR_GEN)
            generateGostKeyPair(session, publicTemplate, publicCount, privateTemplate, privateCount, publicKey,
                                privateKey);
        else
            check(softHsm.C_GenerateKeyPair(handle, mechanism, publicTemplate, publicCount, privateTemplate,
                                            privateCount, publicKey, privateKey));
    });
}

} // namespace softtoken
