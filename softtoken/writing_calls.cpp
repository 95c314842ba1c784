// SPDX-License-Identifier: Apache-2.0
#include "softtoken/writing_calls.h"

#include "softtoken/transaction.h"

namespace softtoken::objects {

void create(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_ATTRIBUTE_PTR attributes, CK_ULONG count,
            CK_OBJECT_HANDLE_PTR object)
{
    allOrNothing({softHsm, session}, placeOf(attributes, count),
                 [&] { check(softHsm.C_CreateObject(session, attributes, count, object)); });
}

void copy(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE original,
          CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR copy)
{
    // It may be where the original is.
    allOrNothing({softHsm, session}, Place::token,
                 [&] { check(softHsm.C_CopyObject(session, original, attributes, count, copy)); });
}

void destroy(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object)
{
    destroyObject([&] { check(softHsm.C_DestroyObject(session, object)); });
}

void setAttributeValue(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                       CK_ATTRIBUTE_PTR attributes, CK_ULONG count)
{
    alterObject({softHsm, session}, object,
                [&] { check(softHsm.C_SetAttributeValue(session, object, attributes, count)); });
}

void generateKey(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                 CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key)
{
    allOrNothing({softHsm, session}, placeOf(attributes, count),
                 [&] { check(softHsm.C_GenerateKey(session, mechanism, attributes, count, key)); });
}

void unwrapKey(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
               CK_OBJECT_HANDLE unwrappingKey, CK_BYTE_PTR wrapped, CK_ULONG wrappedLen, CK_ATTRIBUTE_PTR attributes,
               CK_ULONG count, CK_OBJECT_HANDLE_PTR key)
{
    allOrNothing({softHsm, session}, placeOf(attributes, count), [&] {
        check(softHsm.C_UnwrapKey(session, mechanism, unwrappingKey, wrapped, wrappedLen, attributes, count, key));
    });
}

void deriveKey(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
               CK_OBJECT_HANDLE baseKey, CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key)
{
    allOrNothing({softHsm, session}, placeOf(attributes, count),
                 [&] { check(softHsm.C_DeriveKey(session, mechanism, baseKey, attributes, count, key)); });
}

} // namespace softtoken::objects
