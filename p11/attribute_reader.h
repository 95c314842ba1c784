// SPDX-License-Identifier: Apache-2.0
// The attributes that describe objects, where a missing one is no failure.
#pragma once

#include "p11/session.h"
#include "p11/two_call_fetch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

/// Not every object has every attribute asked for.
inline CK_RV toleratingMissingAttribute(CK_RV rv)
{
    return rv == CKR_ATTRIBUTE_TYPE_INVALID ? CKR_OK : rv;
}

/// Reads the same attributes of one object after the other. One length query serves all objects: the module overwrites
/// the lengths of the object before. `Position` enumerates the attributes.
template <typename Position, std::size_t count>
class AttributeReader {
public:
    explicit AttributeReader(const std::array<CK_ATTRIBUTE_TYPE, count>& types)
    {
        for (std::size_t i = 0; i < count; ++i)
            query_[i].type = types[i];
    }

    [[nodiscard]] CK_RV read(const Session& session, CK_OBJECT_HANDLE object)
    {
        CK_ATTRIBUTE_PTR attributes = query_.data();
        return twoCallFetch(
            session.lines, {"C_GetAttributeValue failed for ", "C_GetAttributeValue #2 failed for "},
            [&] {
                return toleratingMissingAttribute(
                    session.functions->C_GetAttributeValue(session.handle, object, attributes, count));
            },
            [&] {
                values_ = query_;
                for (std::size_t i = 0; i < count; ++i) {
                    if (values_[i].ulValueLen == CK_UNAVAILABLE_INFORMATION)
                        values_[i].ulValueLen = 0;
                    provideBuffer(values_[i], buffers_[i]);
                }
                attributes = values_.data();
                return true;
            },
            object);
    }

    // The object that was read last, with success.

    /// The attribute's buffer, and its size.
    const unsigned char* bytes(Position position) const { return buffers_[position].data(); }
    std::size_t size(Position position) const { return buffers_[position].size(); }

    /// The bytes returned: never more than there is room for, none for an attribute that became unavailable.
    std::size_t length(Position position) const
    {
        const CK_ULONG returned = values_[position].ulValueLen;
        return returned == CK_UNAVAILABLE_INFORMATION ? 0 : std::min<std::size_t>(returned, buffers_[position].size());
    }

private:
    std::array<CK_ATTRIBUTE, count> query_{};
    std::array<CK_ATTRIBUTE, count> values_{};
    std::array<std::vector<unsigned char>, count> buffers_;
};
