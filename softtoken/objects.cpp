// SPDX-License-Identifier: Apache-2.0
#include "softtoken/objects.h"

namespace softtoken {
void requireUser(const Session& session)
{
    CK_SESSION_INFO info;
    check(session.softHsm.C_GetSessionInfo(session.handle, &info));
    require(info.state == CKS_RO_USER_FUNCTIONS || info.state == CKS_RW_USER_FUNCTIONS, CKR_USER_NOT_LOGGED_IN);
}

void requireClass(const Session& session, CK_OBJECT_HANDLE object, CK_OBJECT_CLASS wanted, CK_RV code)
{
    CK_OBJECT_CLASS found = 0;
    CK_ATTRIBUTE query = attribute(CKA_CLASS, found);
    const CK_RV rv = session.softHsm.C_GetAttributeValue(session.handle, object, &query, 1);
    check(rv == CKR_OBJECT_HANDLE_INVALID ? code : rv);
    require(found == wanted, code);
}

Bytes readBytes(const Session& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type)
{
    CK_ATTRIBUTE query = {type, nullptr, 0};
    const CK_RV rv = session.softHsm.C_GetAttributeValue(session.handle, object, &query, 1);
    if (rv == CKR_ATTRIBUTE_TYPE_INVALID)
        return {};
    check(rv);
    Bytes value(query.ulValueLen);
    query.pValue = value.data();
    check(session.softHsm.C_GetAttributeValue(session.handle, object, &query, 1));
    return value;
}

CK_ULONG readNumber(const Session& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type)
{
    CK_ULONG value = 0;
    CK_ATTRIBUTE query = attribute(type, value);
    check(session.softHsm.C_GetAttributeValue(session.handle, object, &query, 1));
    return value;
}

CK_OBJECT_HANDLE createObject(const Session& session, std::vector<CK_ATTRIBUTE> attributes)
{
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    check(session.softHsm.C_CreateObject(session.handle, attributes.data(), attributes.size(), &object));
    return object;
}

void requireInput(const void* data, CK_ULONG length)
{
    require(data || length == 0, CKR_ARGUMENTS_BAD);
}

CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const void* value, CK_ULONG length)
{
    return {type, const_cast<void*>(value), length};
}

} // namespace softtoken
