// SPDX-License-Identifier: Apache-2.0
#include "softtoken/signed_message.h"

#include "softtoken/der.h"

#include <openssl/pkcs7.h>

#include <utility>

namespace softtoken {
namespace {

/// Null unless the bytes are one such structure and nothing behind it.
template <typename Owner, typename Decoder>
Owner decode(Decoder* decoder, const unsigned char* der, CK_ULONG length)
{
    const unsigned char* end = der;
    Owner decoded(decoder(nullptr, &end, static_cast<long>(length)));
    return end == der + length ? std::move(decoded) : nullptr;
}

/// Null unless the content is neither octets nor a message.
ASN1_TYPE** structureIn(PKCS7* message)
{
    PKCS7* content = PKCS7_type_is_signed(message) && message->d.sign ? message->d.sign->contents : nullptr;
    if (!content || !content->d.other || PKCS7_type_is_data(content) || PKCS7_type_is_signed(content) ||
        PKCS7_type_is_enveloped(content) || PKCS7_type_is_signedAndEnveloped(content) ||
        PKCS7_type_is_digest(content) || PKCS7_type_is_encrypted(content))
        return nullptr;
    return &content->d.other;
}

} // namespace

SignedMessage::SignedMessage(const unsigned char* der, CK_ULONG length)
    : message_(decode<Message>(d2i_CMS_ContentInfo, der, length))
{
    if (!message_)
        message_ = takeStructureOut(der, length);
    require(message_ && OBJ_obj2nid(CMS_get0_type(message_.get())) == NID_pkcs7_signed, CKR_DATA_INVALID);
}

/// PKCS #7 lets a message enclose any structure, CMS only octets. The signature is over the structure without its tag
/// and length (PKCS #7 v1.5, section 9.3); what is left is a detached message.
SignedMessage::Message SignedMessage::takeStructureOut(const unsigned char* der, CK_ULONG length)
{
    const auto message = decode<Owned<PKCS7, PKCS7_free>>(d2i_PKCS7, der, length);
    ASN1_TYPE** structure = message ? structureIn(message.get()) : nullptr;
    require(structure && (*structure)->type == V_ASN1_SEQUENCE, CKR_DATA_INVALID);
    const ASN1_STRING* encoded = (*structure)->value.sequence;
    const unsigned char* start = ASN1_STRING_get0_data(encoded);
    const unsigned char* end = start + ASN1_STRING_length(encoded);
    long contentLength = 0;
    int tag = 0;
    int tagClass = 0;
    require(ASN1_get_object(&start, &contentLength, &tag, &tagClass, end - start) == V_ASN1_CONSTRUCTED,
            CKR_DATA_INVALID);
    structure_ = Bytes(start, start + contentLength);
    ASN1_TYPE_free(*structure);
    *structure = nullptr;
    const Bytes detached = encode(i2d_PKCS7, message.get(), CKR_HOST_MEMORY);
    return decode<Message>(d2i_CMS_ContentInfo, detached.data(), detached.size());
}

gnutls_datum_t SignedMessage::content(const gnutls_datum_t& named) const
{
    ASN1_OCTET_STRING** octets = CMS_get0_content(message_.get());
    const bool encloses = octets && *octets;
    if (!encloses && !structure_)
        return named;
    const gnutls_datum_t enclosed = encloses ? borrow(*octets) : borrow(*structure_);
    require(named.size == 0 || equal(named, enclosed), CKR_SIGNATURE_INVALID);
    return enclosed;
}

} // namespace softtoken
