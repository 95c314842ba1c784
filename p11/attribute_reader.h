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
                provideBuffers();
                attributes = values_.data();
                return true;
            },
            object);
    }

    // The object that was read last, with success.

    /// The start of the attribute's buffer.
    const unsigned char* bytes(Position position) const
    {
        return reinterpret_cast<const unsigned char*>(&buffer_[starts_[position]]);
    }

    /// The bytes returned: never more than there is room for, none for an attribute that became unavailable.
    std::size_t length(Position position) const
    {
        const CK_ULONG returned = values_[position].ulValueLen;
        return returned == CK_UNAVAILABLE_INFORMATION ? 0 : std::min(returned, announced(position));
    }

    /// The buffer's first bytes as a number; one shorter than a CK_ULONG is extended by zeros.
    CK_ULONG number(Position position) const { return buffer_[starts_[position]]; }

private:
    CK_ULONG announced(std::size_t i) const
    {
        return query_[i].ulValueLen == CK_UNAVAILABLE_INFORMATION ? 0 : query_[i].ulValueLen;
    }

    /// Lays the attributes out in one zero-filled buffer. Its unit is the word: every value is aligned, and the sum of
    /// any lengths fits. An attribute without a value has a word as well, so that its start lies in the buffer.
    void provideBuffers()
    {
        static_assert(count < sizeof(CK_ULONG), "the sum would overflow");
        std::size_t words = 0;
        for (std::size_t i = 0; i < count; ++i) {
            starts_[i] = words;
            words += announced(i) / sizeof(CK_ULONG) + 1;
        }
        buffer_.resize(words); // this and fill become one memset; assign becomes a loop, which is slower
        std::fill(buffer_.begin(), buffer_.end(), 0);
        for (std::size_t i = 0; i < count; ++i)
            values_[i] = {query_[i].type, announced(i) == 0 ? nullptr : &buffer_[starts_[i]], announced(i)};
    }

    std::array<CK_ATTRIBUTE, count> query_{};
    std::array<CK_ATTRIBUTE, count> values_{};
    std::array<std::size_t, count> starts_{};
    std::vector<CK_ULONG> buffer_;
};
