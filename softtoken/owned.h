// SPDX-License-Identifier: Apache-2.0
// Owners for the objects of OpenSSL and GnuTLS.
#pragma once

#include <memory>
#include <type_traits>
#include <vector>

namespace softtoken {

using Bytes = std::vector<unsigned char>;

template <auto release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const
    {
        release(object);
    }
};

/// `Type` is the object's type, as OpenSSL declares it, or a pointer to it, as GnuTLS does.
template <typename Type, auto release>
using Owned = std::unique_ptr<std::remove_pointer_t<Type>, Releaser<release>>;

} // namespace softtoken
