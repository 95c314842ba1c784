// SPDX-License-Identifier: Apache-2.0
// The standard functions that make, change and destroy objects.
#pragma once

#include "include/tovr_pkcs11.h"

namespace softtoken::objects {

void create(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_ATTRIBUTE_PTR attributes, CK_ULONG count,
            CK_OBJECT_HANDLE_PTR object);
void copy(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE original,
          CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR copy);
void destroy(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object);
void setAttributeValue(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                       CK_ATTRIBUTE_PTR attributes, CK_ULONG count);
void generateKey(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                 CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key);
void unwrapKey(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
               CK_OBJECT_HANDLE unwrappingKey, CK_BYTE_PTR wrapped, CK_ULONG wrappedLen, CK_ATTRIBUTE_PTR attributes,
               CK_ULONG count, CK_OBJECT_HANDLE_PTR key);
void deriveKey(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
               CK_OBJECT_HANDLE baseKey, CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key);

} // namespace softtoken::objects
