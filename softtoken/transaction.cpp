// SPDX-License-Identifier: Apache-2.0
#include "softtoken/transaction.h"

#include "softtoken/files.h"
#include "softtoken/object_file.h"
#include "softtoken/opened_store.h"
#include "softtoken/recovery.h"
#include "softtoken/snapshot.h"

namespace softtoken {
namespace {

namespace fs = std::filesystem;

/// While one of these lives, whoever takes the lock next knows that its holder died.
class Writing {
public:
    Writing()
    {
        openedStore().lock.record.writing = 1;
        openedStore().lock.save();
    }

    /// Not after a failure that left something undone: the next call then puts it right.
    static void end()
    {
        openedStore().lock.record.writing = 0;
        openedStore().lock.save();
    }
};

const fs::path& folder()
{
    return openedStore().folder();
}

/// Objects that SoftHSM2 made in memory since this was. It has no file of them, but numbers them in their order.
class SessionObjects {
public:
    explicit SessionObjects(const Session& outer) : softHsm_(outer.softHsm)
    {
        // A session beside the caller's, so that a search of the caller's own stays undisturbed.
        CK_SESSION_INFO info;
        check(softHsm_.C_GetSessionInfo(outer.handle, &info));
        check(softHsm_.C_OpenSession(info.slotID, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session_));
    }
    ~SessionObjects() { (void)softHsm_.C_CloseSession(session_); } // the caller's goes on, whatever becomes of it
    SessionObjects(const SessionObjects&) = delete;
    SessionObjects& operator=(const SessionObjects&) = delete;

    void destroyNew() const
    {
        const CK_BBOOL no = CK_FALSE;
        CK_ATTRIBUTE query = attribute(CKA_TOKEN, no);
        std::vector<CK_OBJECT_HANDLE> all;
        check(softHsm_.C_FindObjectsInit(session_, &query, 1));
        CK_OBJECT_HANDLE next = CK_INVALID_HANDLE;
        for (CK_ULONG found = 1; found > 0;) {
            check(softHsm_.C_FindObjects(session_, &next, 1, &found));
            all.insert(all.end(), found, next);
        }
        check(softHsm_.C_FindObjectsFinal(session_));
        for (const CK_OBJECT_HANDLE object : all)
            if (object > session_)
                (void)softHsm_.C_DestroyObject(session_, object); // the caller is told what went wrong before
    }

private:
    const CK_FUNCTION_LIST& softHsm_;
    CK_SESSION_HANDLE session_ = CK_INVALID_HANDLE;
};

/// Has the disk hold all objects that are not as they were, and reads them again.
void syncChanges(const Snapshot& before)
{
    const fs::path tokens = folder() / "tokens";
    for (const auto& [name, unread] : takeSnapshot(folder(), Depth::names)) {
        const auto old = before.find(name);
        const bool isNew = old == before.end();
        if ((!isNew && !old->second) || fs::path(name).filename() == "token.object")
            continue; // copies are made of the last
        const auto now = readFile(tokens / name);
        if (!isNew && now == old->second)
            continue;
        require(now && isWholeObject(*now), CKR_DEVICE_MEMORY);
        syncToDisk(tokens / name);
    }
    for (const fs::path& token : tokenFolders(folder()))
        syncToDisk(token);
}

/// Runs a job that can be taken back. When it was, `onFailure` learns whether anything had changed.
template <typename OnFailure>
void withSnapshot(Depth depth, const Job& job, OnFailure onFailure)
{
    const Writing writing;
    try {
        const Snapshot before = takeSnapshot(folder(), depth);
        keepSnapshot(folder(), before);
        job();
        syncChanges(before);
        dropSnapshot(folder());
    } catch (...) {
        onFailure(recover(folder()));
        Writing::end();
        throw;
    }
    Writing::end();
}

} // namespace

Place placeOf(const CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    for (CK_ULONG i = 0; attributes && i < count; ++i)
        if (attributes[i].type == CKA_TOKEN && attributes[i].pValue && attributes[i].ulValueLen == sizeof(CK_BBOOL) &&
            *static_cast<const CK_BBOOL*>(attributes[i].pValue) != CK_FALSE)
            return Place::token;
    return Place::session;
}

void allOrNothing(const Session& session, Place place, const Job& job)
{
    const SessionObjects objects(session);
    try {
        if (place == Place::token)
            withSnapshot(Depth::names, job, [](bool) {});
        else
            job();
    } catch (...) {
        objects.destroyNew();
        throw;
    }
}

void alterObject(const Session& session, CK_OBJECT_HANDLE object, const Job& job)
{
    CK_BBOOL onToken = CK_FALSE;
    CK_ATTRIBUTE query = attribute(CKA_TOKEN, onToken);
    const CK_RV rv = session.softHsm.C_GetAttributeValue(session.handle, object, &query, 1);
    if (rv == CKR_OK && onToken)
        withSnapshot(Depth::contents, job, [](bool) {});
    else
        job();
}

void destroyObject(const Job& job)
{
    const Writing writing;
    try {
        job();
        for (const fs::path& token : tokenFolders(folder()))
            syncToDisk(token);
    } catch (...) {
        Writing::end();
        throw;
    }
    Writing::end();
}

void writeLogin(const Job& job)
{
    const Writing writing;
    try {
        job();
    } catch (...) {
        restoreTokenFiles(folder());
        Writing::end();
        throw;
    }
    restoreTokenFiles(folder());
    Writing::end();
}

void changePin(const Job& job)
{
    OpenedStore& store = openedStore();
    const bool knewPins = store.knowsPins();
    keepTokenFiles(folder()); // another program may have changed a PIN
    ++store.lock.record.pins;
    const Writing writing;
    try {
        job();
        keepTokenFiles(folder());
    } catch (...) {
        if (!revertTokenFiles(folder()))
            --store.lock.record.pins;
        Writing::end();
        throw;
    }
    if (knewPins)
        store.hasRead();
    Writing::end();
}

void changeToken(const Job& job)
{
    OpenedStore& store = openedStore();
    Record& record = store.lock.record;
    ++record.token;
    ++record.pins;
    withSnapshot(
        Depth::contents,
        [&] {
            job();
            keepTokenFiles(folder());
            syncToDisk(folder() / "tokens");
        },
        [&](bool changed) {
            if (changed)
                return;
            --record.token;
            --record.pins;
        });
    store.hasRead();
}

} // namespace softtoken
