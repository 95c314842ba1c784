// SPDX-License-Identifier: Apache-2.0
// OpenSSL's structures as DER.
#pragma once

#include "softtoken/failure.h"
#include "softtoken/owned.h"

namespace softtoken {

/// The DER encoding by one of OpenSSL's i2d functions. Fails with `code` when there is none.
template <typename Encoder, typename Object>
Bytes encode(Encoder* encoder, Object* object, CK_RV code)
{
    const int length = encoder(object, nullptr);
    require(length > 0, code);
    Bytes der(static_cast<std::size_t>(length));
    unsigned char* end = der.data();
    require(encoder(object, &end) == length, code);
    return der;
}

} // namespace softtoken
