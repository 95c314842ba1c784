// SPDX-License-Identifier: Apache-2.0
#include "session/certificate_listing.h"

#include "p11/attribute_reader.h"
#include "p11/object_search.h"

#include <cstddef>
#include <set>

namespace {

Outcome findClass(const Session& session, CK_OBJECT_CLASS objectClass, std::vector<CK_OBJECT_HANDLE>& objects)
{
    CK_ATTRIBUTE criterion{CKA_CLASS, &objectClass, sizeof objectClass};
    return findEvery(session, &criterion, 1, objects);
}

enum IdPosition { KeyId };
enum CertificatePosition { Label, Id, Value };

template <typename Position, std::size_t count>
Bytes valueOf(const AttributeReader<Position, count>& attributes, Position position)
{
    return {attributes.bytes(position), attributes.bytes(position) + attributes.length(position)};
}

/// The IDs of all private keys.
Outcome listKeyIds(const Session& session, std::set<Bytes>& ids)
{
    std::vector<CK_OBJECT_HANDLE> keys;
    const Outcome search = findClass(session, CKO_PRIVATE_KEY, keys);
    AttributeReader<IdPosition, 1> attributes({CKA_ID});
    for (const CK_OBJECT_HANDLE key : keys) {
        if (attributes.read(session, key) == CKR_OK)
            ids.insert(valueOf(attributes, KeyId));
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

    AttributeReader<CertificatePosition, 3> attributes({CKA_LABEL, CKA_ID, CKA_VALUE});
    for (const CK_OBJECT_HANDLE handle : handles) {
        outcome = {attributes.read(session, handle), "C_GetAttributeValue"};
        if (outcome.code != CKR_OK)
            continue;
        const Bytes id = valueOf(attributes, Id);
        certificates.push_back(
            {valueOf(attributes, Label), id, valueOf(attributes, Value), !id.empty() && keyIds.count(id) != 0});
    }
    return outcome;
}
