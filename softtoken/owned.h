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

/// OpenSSL names its types, GnuTLS pointers to them: `Type` may be either.
template <typename Type, auto release>
using Owned = std::unique_ptr<std::remove_pointer_t<Type>, Releaser<release>>;

} // namespace softtoken
