// SPDX-License-Identifier: Apache-2.0
// What the instant module does. It keeps no state but the position of the search, and looks at no PIN, handle or
// criterion.
#include "bench/instant_module.h"

#include <charconv>
#include <cstring>

namespace {

constexpr CK_KEY_TYPE keyType = CKK_RSA;
constexpr unsigned char id[] = {0x01, 0x02};
constexpr char label[] = {'o', 'b', 'j', 'e', 'c', 't'};
constexpr unsigned char exponent[] = {0x01, 0x00, 0x01};

std::size_t nextObject = 0;

void give(CK_ATTRIBUTE& attribute, const void* value, std::size_t length)
{
    if (attribute.pValue != nullptr)
        std::memcpy(attribute.pValue, value, length);
    attribute.ulValueLen = length;
}

/// Gives a long output, which a null buffer only asks the length of.
CK_RV fill(void* buffer, CK_ULONG& length)
{
    length = instantShape.bytes;
    if (buffer != nullptr)
        std::memset(buffer, 'x', length);
    return CKR_OK;
}

} // namespace

extern "C" {

CK_RV C_Initialize(void*)
{
    return CKR_OK;
}

CK_RV C_Finalize(void*)
{
    return CKR_OK;
}

CK_RV C_GetSlotList(CK_BBOOL, CK_SLOT_ID_PTR list, CK_ULONG_PTR count)
{
    *count = instantShape.slots;
    for (std::size_t slot = 0; list != nullptr && slot < instantShape.slots; ++slot)
        list[slot] = slot;
    return CKR_OK;
}

CK_RV C_GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO_PTR info)
{
    static constexpr char manufacturer[] = "Benchmark                       ";
    static constexpr char reader[] = "Reader                                                          ";
    static_assert(sizeof manufacturer == sizeof info->manufacturerID + 1);
    static_assert(sizeof reader == sizeof info->slotDescription + 1);
    *info = {};
    info->flags = CKF_TOKEN_PRESENT;
    std::memcpy(info->manufacturerID, manufacturer, sizeof info->manufacturerID);
    std::memcpy(info->slotDescription, reader, sizeof info->slotDescription);
    char* number = reinterpret_cast<char*>(info->slotDescription) + sizeof "Reader ";
    (void)std::to_chars(number - 1, number + 10, slot); // has room for all slots there can be
    return CKR_OK;
}

CK_RV C_GetTokenInfo(CK_SLOT_ID, CK_TOKEN_INFO_PTR info)
{
    std::memset(info, ' ', sizeof *info);
    std::memcpy(info->label, "VORNIX Token", 12);
    std::memcpy(info->manufacturerID, "Benchmark", 9);
    std::memcpy(info->model, "Instant", 7);
    std::memcpy(info->serialNumber, "0123456789", 10);
    info->flags = CKF_TOKEN_INITIALIZED | CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED;
    return CKR_OK;
}

CK_RV C_InitToken(CK_SLOT_ID, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR)
{
    return CKR_OK;
}

CK_RV C_SetPIN(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
{
    return CKR_OK;
}

CK_RV C_OpenSession(CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE_PTR session)
{
    *session = 1;
    return CKR_OK;
}

CK_RV C_CloseSession(CK_SESSION_HANDLE)
{
    return CKR_OK;
}

CK_RV C_GetSessionInfo(CK_SESSION_HANDLE, CK_SESSION_INFO_PTR info)
{
    *info = {0, CKS_RW_USER_FUNCTIONS, CKF_SERIAL_SESSION | CKF_RW_SESSION, 0};
    return CKR_OK;
}

CK_RV C_Login(CK_SESSION_HANDLE, CK_USER_TYPE, CK_BYTE_PTR, CK_ULONG)
{
    return CKR_OK;
}

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG)
{
    nextObject = 0;
    return CKR_OK;
}

/// Handles are 1, 2 and so on.
CK_RV C_FindObjects(CK_SESSION_HANDLE, CK_OBJECT_HANDLE_PTR objects, CK_ULONG room, CK_ULONG_PTR count)
{
    *count = 0;
    while (*count < room && nextObject < instantShape.objects)
        objects[(*count)++] = ++nextObject;
    return CKR_OK;
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE)
{
    return CKR_OK;
}

CK_RV C_CreateObject(CK_SESSION_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR object)
{
    *object = 1;
    return CKR_OK;
}

CK_RV C_DestroyObject(CK_SESSION_HANDLE, CK_OBJECT_HANDLE)
{
    return CKR_OK;
}

/// One object in three is a certificate, which has no key type, one a public key, one a private key.
CK_RV C_GetAttributeValue(CK_SESSION_HANDLE, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_PTR attributes, CK_ULONG count)
{
    static constexpr CK_OBJECT_CLASS classes[] = {CKO_CERTIFICATE, CKO_PUBLIC_KEY, CKO_PRIVATE_KEY};
    const CK_OBJECT_CLASS& objectClass = classes[object % 3];
    CK_RV rv = CKR_OK;
    for (CK_ATTRIBUTE_PTR attribute = attributes; attribute != attributes + count; ++attribute) {
        switch (attribute->type) {
        case CKA_CLASS: give(*attribute, &objectClass, sizeof objectClass); break;
        case CKA_ID: give(*attribute, id, sizeof id); break;
        case CKA_LABEL: give(*attribute, label, sizeof label); break;
        case CKA_VALUE:
        case CKA_MODULUS: (void)fill(attribute->pValue, attribute->ulValueLen); break; // always succeeds
        case CKA_PUBLIC_EXPONENT: give(*attribute, exponent, sizeof exponent); break;
        case CKA_KEY_TYPE:
            if (objectClass != CKO_CERTIFICATE) {
                give(*attribute, &keyType, sizeof keyType);
                break;
            }
            [[fallthrough]];
        default: attribute->ulValueLen = CK_UNAVAILABLE_INFORMATION; rv = CKR_ATTRIBUTE_TYPE_INVALID;
        }
    }
    return rv;
}

CK_RV C_GenerateKeyPair(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_ATTRIBUTE_PTR, CK_ULONG, CK_ATTRIBUTE_PTR, CK_ULONG,
                        CK_OBJECT_HANDLE_PTR publicKey, CK_OBJECT_HANDLE_PTR privateKey)
{
    *publicKey = 1;
    *privateKey = 2;
    return CKR_OK;
}

CK_RV instantImportCert(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
{
    return CKR_OK;
}

CK_RV instantImportX509Certificate(CK_SESSION_HANDLE, const char*, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
{
    return CKR_OK;
}

CK_RV instantCreateCsr(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR request,
                       CK_ULONG_PTR length, CK_OBJECT_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
{
    return fill(request, *length);
}

CK_RV instantPkcs7Sign(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_OBJECT_HANDLE, CK_BYTE_PTR message,
                       CK_ULONG_PTR length, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE_PTR, CK_ULONG, CK_ULONG)
{
    return fill(message, *length);
}

CK_RV instantPkcs7Verify(CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
{
    return CKR_OK;
}

} // extern "C"
