// SPDX-License-Identifier: Apache-2.0
// Results of several fields as one run of bytes.
#pragma once

#include "jni/secret_bytes.h"
#include "p11/fields.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>

/// Packs fields one behind the other, each as its length in four bytes and its bytes. A number is a field of eight
/// bytes. All are big-endian. Java's counterpart is the class Fields.
class Packing {
public:
    /// Appends to `output`.
    explicit Packing(Bytes& output) : output_(output) {}

    void bytes(const unsigned char* first, std::size_t count)
    {
        if (count > std::numeric_limits<std::uint32_t>::max())
            throw std::bad_alloc(); // Java has no array for it
        bigEndian(count, 4);
        output_.insert(output_.end(), first, first + count);
    }
    void bytes(const Bytes& run) { bytes(run.data(), run.size()); }
    void text(std::string_view text) { bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size()); }
    void number(std::uint64_t value)
    {
        bigEndian(8, 4);
        bigEndian(value, 8);
    }

    /// A blank-padded field without its padding.
    template <std::size_t width>
    void padded(const unsigned char (&field)[width])
    {
        bytes(field, trimmedLength(field, width));
    }

private:
    void bigEndian(std::uint64_t value, unsigned width)
    {
        while (width-- != 0)
            output_.push_back(static_cast<unsigned char>(value >> (8 * width)));
    }

    Bytes& output_;
};
