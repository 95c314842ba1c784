// SPDX-License-Identifier: Apache-2.0
#include "tests/support/scripted_objects.h"

#include <algorithm>

namespace scripted {

Bytes bytesOf(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Bytes bytesOf(CK_ULONG number)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(&number);
    return Bytes(bytes, bytes + sizeof number);
}

Bytes copyOf(const void* bytes, CK_ULONG length)
{
    return bytesOf(textOf(bytes, length));
}

std::string textOf(const void* bytes, CK_ULONG length)
{
    return length == 0 ? std::string() : std::string(static_cast<const char*>(bytes), length);
}

Object certificate(const std::string& label, const Bytes& id, const Bytes& value)
{
    return {{CKA_CLASS, bytesOf(CKO_CERTIFICATE)}, {CKA_LABEL, bytesOf(label)}, {CKA_ID, id}, {CKA_VALUE, value}};
}

Object rsaPublicKey(const std::string& label, const Bytes& id, const Bytes& modulus, const Bytes& exponent)
{
    return {{CKA_CLASS, bytesOf(CKO_PUBLIC_KEY)},
            {CKA_KEY_TYPE, bytesOf(CKK_RSA)},
            {CKA_LABEL, bytesOf(label)},
            {CKA_ID, id},
            {CKA_MODULUS, modulus},
            {CKA_PUBLIC_EXPONENT, exponent}};
}

Object gostPublicKey(const std::string& label, const Bytes& id)
{
    return {{CKA_CLASS, bytesOf(CKO_PUBLIC_KEY)},
            {CKA_KEY_TYPE, bytesOf(CKK_GOSTR3410)},
            {CKA_LABEL, bytesOf(label)},
            {CKA_ID, id}};
}

Object privateKey(const std::string& label, const Bytes& id, CK_KEY_TYPE type)
{
    return {{CKA_CLASS, bytesOf(CKO_PRIVATE_KEY)},
            {CKA_KEY_TYPE, bytesOf(type)},
            {CKA_LABEL, bytesOf(label)},
            {CKA_ID, id}};
}

Object dataObject(const std::string& label)
{
    return {{CKA_CLASS, bytesOf(CKO_DATA)}, {CKA_LABEL, bytesOf(label)}};
}

std::vector<Object> sampleObjects()
{
    const Bytes alice = {0x01};
    const Bytes boris = {0x02, 0xff};
    return {certificate("alice", alice, {0x30, 0x03, 0x02, 0x01, 0x80}),
            rsaPublicKey("alice", alice, {0xc3, 0x00, 0x7f, 0x80}, {0x01, 0x00, 0x01}),
            privateKey("alice", alice),
            gostPublicKey("boris", boris),
            privateKey("boris", boris, CKK_GOSTR3410),
            dataObject("note")};
}

bool matches(const Object& object, const CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    return std::all_of(attributes, attributes + count, [&](const CK_ATTRIBUTE& wanted) {
        const auto found = object.find(wanted.type);
        return found != object.end() && found->second == copyOf(wanted.pValue, wanted.ulValueLen);
    });
}

CK_RV readAttribute(const Object& object, CK_ATTRIBUTE& attribute)
{
    const CK_ULONG room = attribute.ulValueLen;
    attribute.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    const auto found = object.find(attribute.type);
    if (found == object.end())
        return CKR_ATTRIBUTE_TYPE_INVALID;
    if (!found->second)
        return CKR_ATTRIBUTE_SENSITIVE;
    const Bytes& value = *found->second;
    if (attribute.pValue != nullptr) {
        if (room < value.size())
            return CKR_BUFFER_TOO_SMALL;
        std::copy(value.begin(), value.end(), static_cast<unsigned char*>(attribute.pValue));
    }
    attribute.ulValueLen = value.size();
    return CKR_OK;
}

Object objectOf(const CK_ATTRIBUTE* attributes, CK_ULONG count, CK_KEY_TYPE keyType)
{
    Object object;
    for (CK_ULONG i = 0; i < count; ++i)
        if (attributes[i].pValue != nullptr || attributes[i].type != CKA_CLASS)
            object[attributes[i].type] = copyOf(attributes[i].pValue, attributes[i].ulValueLen);
    object[CKA_KEY_TYPE] = bytesOf(keyType);
    return object;
}

} // namespace scripted
