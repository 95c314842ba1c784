#include "softtoken/objects.h"

#include <algorithm>

namespace softtoken {
namespace {

/// A session beside the caller's, so that a search of the caller's own stays undisturbed.
class InnerSession {
public:
    explicit InnerSession(const Session& outer) : softHsm_(outer.softHsm)
    {
        CK_SESSION_INFO info;
        check(softHsm_.C_GetSessionInfo(outer.handle, &info));
        check(softHsm_.C_OpenSession(info.slotID, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &handle_));
    }
    ~InnerSession() { (void)softHsm_.C_CloseSession(handle_); } // the caller's goes on, whatever becomes of it
    InnerSession(const InnerSession&) = delete;
    InnerSession& operator=(const InnerSession&) = delete;

    /// All objects that the caller sees, sorted.
    std::vector<CK_OBJECT_HANDLE> objects() const
    {
        std::vector<CK_OBJECT_HANDLE> all;
        check(softHsm_.C_FindObjectsInit(handle_, nullptr, 0));
        CK_OBJECT_HANDLE next = CK_INVALID_HANDLE;
        for (CK_ULONG found = 1; found > 0;) {
            check(softHsm_.C_FindObjects(handle_, &next, 1, &found));
            all.insert(all.end(), found, next);
        }
        check(softHsm_.C_FindObjectsFinal(handle_));
        std::sort(all.begin(), all.end());
        return all;
    }

    /// As far as it can be: the caller is told what went wrong before.
    void destroy(CK_OBJECT_HANDLE object) const { (void)softHsm_.C_DestroyObject(handle_, object); }

private:
    const CK_FUNCTION_LIST& softHsm_;
    CK_SESSION_HANDLE handle_ = CK_INVALID_HANDLE;
};

} // namespace

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

void allOrNothing(const Session& session, const std::function<void()>& job)
{
    const InnerSession inner(session);
    const auto before = inner.objects();
    try {
        job();
    } catch (...) {
        for (const CK_OBJECT_HANDLE object : inner.objects())
            if (!std::binary_search(before.begin(), before.end(), object))
                inner.destroy(object);
        throw;
    }
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
