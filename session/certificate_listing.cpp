// SPDX-License-Identifier: Apache-2.0
#include "session/certificate_listing.h"

#include "p11/object_search.h"
#include "p11/two_call_fetch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>
#include <utility>

namespace {

Outcome findClass(const Session& session, CK_OBJECT_CLASS objectClass, std::vector<CK_OBJECT_HANDLE>& objects)
{
    CK_ATTRIBUTE criterion{CKA_CLASS, &objectClass, sizeof objectClass};
    return findEvery(session, &criterion, 1, objects);
}

/// Reads attributes of an object. One that it does not have is empty.
template <std::size_t count>
[[nodiscard]] CK_RV readAttributes(const Session& session, CK_OBJECT_HANDLE object,
                                   const std::array<CK_ATTRIBUTE_TYPE, count>& types, std::array<Bytes, count>& values)
{
    std::array<CK_ATTRIBUTE, count> query{};
    for (std::size_t i = 0; i < count; ++i)
        query[i].type = types[i];
    const CK_RV rv = twoCallFetch(
        session.lines, {"C_GetAttributeValue failed for ", "C_GetAttributeValue #2 failed for "},
        [&] {
            const CK_RV code =
                session.functions->C_GetAttributeValue(session.handle, object, query.data(), query.size());
            return code == CKR_ATTRIBUTE_TYPE_INVALID ? CKR_OK : code;
        },
        [&] {
            for (std::size_t i = 0; i < count; ++i) {
                if (query[i].ulValueLen == CK_UNAVAILABLE_INFORMATION)
                    query[i].ulValueLen = 0;
                provideBuffer(query[i], values[i]);
            }
            return true;
        },
        object);
    for (std::size_t i = 0; rv == CKR_OK && i < count; ++i) {
        const CK_ULONG length = query[i].ulValueLen;
        values[i].resize(length == CK_UNAVAILABLE_INFORMATION ? 0 : std::min<std::size_t>(length, values[i].size()));
    }
    return rv;
}

/// The IDs of all private keys.
Outcome listKeyIds(const Session& session, std::set<Bytes>& ids)
{
    std::vector<CK_OBJECT_HANDLE> keys;
    const Outcome search = findClass(session, CKO_PRIVATE_KEY, keys);
    for (const CK_OBJECT_HANDLE key : keys) {
        std::array<Bytes, 1> values;
        if (readAttributes<1>(session, key, {CKA_ID}, values) == CKR_OK)
            ids.insert(std::move(values[0]));
    }
    return search;
}

} // namespace

Outcome jobs::listCertificates(const Session& session, std::vector<ListedCertificate>& certificates)
{
    std::vector<CK_OBJECT_HANDLE> handles;
    Outcome outcome = findClass(session, CKO_CERTIFICATE, handles);
    if (outcome.code != CKR_OK)
        return outcome;
    std::set<Bytes> keyIds;
    outcome = listKeyIds(session, keyIds);
    if (outcome.code != CKR_OK)
        return outcome;

    for (const CK_OBJECT_HANDLE handle : handles) {
        std::array<Bytes, 3> values;
        outcome = {readAttributes<3>(session, handle, {CKA_LABEL, CKA_ID, CKA_VALUE}, values), "C_GetAttributeValue"};
        if (outcome.code != CKR_OK)
            continue;
        const bool hasKey = !values[1].empty() && keyIds.count(values[1]) != 0;
        certificates.push_back({std::move(values[0]), std::move(values[1]), std::move(values[2]), hasKey});
    }
    return outcome;
}
