// SPDX-License-Identifier: Apache-2.0
// A signed PKCS #7 message, as OpenSSL's CMS reads it.
#pragma once

#include "softtoken/gnutls.h"

#include <openssl/cms.h>

#include <optional>

namespace softtoken {

inline gnutls_datum_t borrow(const ASN1_STRING* string)
{
    return borrow(ASN1_STRING_get0_data(string), static_cast<std::size_t>(ASN1_STRING_length(string)));
}

class SignedMessage {
public:
    /// Fails with CKR_DATA_INVALID unless the bytes are one signed message and nothing behind it.
    SignedMessage(const unsigned char* der, CK_ULONG length);

    CMS_ContentInfo* get() const { return message_.get(); }

    /// The enclosed content or, if the message is detached, `named`. Fails with CKR_SIGNATURE_INVALID when there are
    /// both and they differ.
    gnutls_datum_t content(const gnutls_datum_t& named) const;

private:
    using Message = Owned<CMS_ContentInfo, CMS_ContentInfo_free>;

    Message takeStructureOut(const unsigned char* der, CK_ULONG length);

    /// Content that the message enclosed in a form unknown to CMS.
    std::optional<Bytes> structure_;
    Message message_;
};

} // namespace softtoken
