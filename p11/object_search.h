// SPDX-License-Identifier: Apache-2.0
// The search for objects of a session's token.
#pragma once

#include "p11/diagnostics.h"
#include "p11/outcome.h"
#include "p11/session.h"

#include <vector>

/// An active search, finalised at the end of its scope (PKCS #11 v2.40, section 5.7).
class ObjectSearch {
public:
    /// Starts the search. `number` tells in its lines which of an operation's searches it is.
    ObjectSearch(const Session& session, CK_ATTRIBUTE_PTR criteria, CK_ULONG criteriaCount, SearchNumber number = {})
        : session_(session), number_(number),
          code_(session.functions->C_FindObjectsInit(session.handle, criteria, criteriaCount)), active_(code_ == CKR_OK)
    {
    }

    ~ObjectSearch()
    {
        if (active_)
            (void)finalise(); // the job's code counts; there is nothing to do about this one
    }

    ObjectSearch(const ObjectSearch&) = delete;
    ObjectSearch& operator=(const ObjectSearch&) = delete;

    /// Whether the search could start.
    explicit operator bool() const { return active_; }

    /// Why it could not. The operation ends with that.
    Outcome refusal() const { return {code_, "C_FindObjectsInit", "C_FindObjectsInit failed", number_}; }

    /// Finds the first match. Returns 6 when there is none; its line shows C_FindObjects's own code, 0.
    Outcome findOne(CK_OBJECT_HANDLE& object)
    {
        CK_ULONG found = 0;
        const CK_RV rv = next(object, found);
        if (rv != CKR_OK) {
            diagnose(session_.lines, "C_FindObjects failed", number_.text(), ". Code: ", rv);
            return {rv, "C_FindObjects"};
        }
        if (found == 0) {
            diagnose(session_.lines, "C_FindObjects object not found", number_.text(), ". Code: ", rv);
            return {CKR_FUNCTION_FAILED, emptySearch};
        }
        return {CKR_OK, "C_FindObjects"};
    }

    /// Finds all matches, up to the first error: objects that can be listed are worth more than the error.
    std::vector<CK_OBJECT_HANDLE> findAll()
    {
        std::vector<CK_OBJECT_HANDLE> objects;
        CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
        CK_ULONG found = 0;
        while (next(object, found) == CKR_OK && found != 0)
            objects.push_back(object);
        return objects;
    }

    /// Finalises the search where the code matters. A failure is written.
    Outcome finish()
    {
        const CK_RV rv = finalise();
        if (rv != CKR_OK)
            diagnose(session_.lines, "C_FindObjectsFinal failed. Code: ", rv);
        return {rv, "C_FindObjectsFinal"};
    }

private:
    CK_RV next(CK_OBJECT_HANDLE& object, CK_ULONG& found)
    {
        found = 0;
        return session_.functions->C_FindObjects(session_.handle, &object, 1, &found);
    }

    CK_RV finalise()
    {
        active_ = false;
        return session_.functions->C_FindObjectsFinal(session_.handle);
    }

    const Session session_;
    SearchNumber number_;
    CK_RV code_;
    bool active_;
};

/// Finds every object that matches and that the session's user sees; no criteria match all. The code is that of
/// C_FindObjectsFinal, or tells why the search could not start.
inline Outcome findEvery(const Session& session, CK_ATTRIBUTE_PTR criteria, CK_ULONG criteriaCount,
                         std::vector<CK_OBJECT_HANDLE>& objects)
{
    ObjectSearch search(session, criteria, criteriaCount);
    if (!search)
        return search.refusal();
    objects = search.findAll();
    return search.finish();
}
