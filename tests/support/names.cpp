// SPDX-License-Identifier: Apache-2.0
#include "tests/support/names.h"

#include <cstdio>
#include <iterator>

// clang-format off
#define NAMED(constant) {constant, #constant}
// clang-format on

namespace scripted {
namespace {

struct Name {
    unsigned long value;
    const char* text;
};

template <std::size_t count>
std::string lookUp(const Name (&names)[count], unsigned long value)
{
    for (const Name& name : names)
        if (name.value == value)
            return name.text;
    return hexNumber(value);
}

constexpr Name codes[] = {
    NAMED(CKR_OK),
    NAMED(CKR_HOST_MEMORY),
    NAMED(CKR_SLOT_ID_INVALID),
    NAMED(CKR_GENERAL_ERROR),
    NAMED(CKR_FUNCTION_FAILED),
    NAMED(CKR_ARGUMENTS_BAD),
    NAMED(CKR_CANT_LOCK),
    NAMED(CKR_ATTRIBUTE_SENSITIVE),
    NAMED(CKR_ATTRIBUTE_TYPE_INVALID),
    NAMED(CKR_ATTRIBUTE_VALUE_INVALID),
    NAMED(CKR_DATA_INVALID),
    NAMED(CKR_DEVICE_ERROR),
    NAMED(CKR_DEVICE_MEMORY),
    NAMED(CKR_DEVICE_REMOVED),
    NAMED(CKR_KEY_SIZE_RANGE),
    NAMED(CKR_MECHANISM_INVALID),
    NAMED(CKR_OBJECT_HANDLE_INVALID),
    NAMED(CKR_OPERATION_ACTIVE),
    NAMED(CKR_OPERATION_NOT_INITIALIZED),
    NAMED(CKR_PIN_INCORRECT),
    NAMED(CKR_PIN_INVALID),
    NAMED(CKR_PIN_LEN_RANGE),
    NAMED(CKR_PIN_LOCKED),
    NAMED(CKR_SESSION_COUNT),
    NAMED(CKR_SESSION_HANDLE_INVALID),
    NAMED(CKR_SESSION_EXISTS),
    NAMED(CKR_SIGNATURE_INVALID),
    NAMED(CKR_TEMPLATE_INCONSISTENT),
    NAMED(CKR_TOKEN_NOT_PRESENT),
    NAMED(CKR_USER_ALREADY_LOGGED_IN),
    NAMED(CKR_USER_NOT_LOGGED_IN),
    NAMED(CKR_USER_PIN_NOT_INITIALIZED),
    NAMED(CKR_USER_TYPE_INVALID),
    NAMED(CKR_BUFFER_TOO_SMALL),
    NAMED(CKR_CRYPTOKI_NOT_INITIALIZED),
    NAMED(CKR_CRYPTOKI_ALREADY_INITIALIZED),
};

constexpr Name userTypes[] = {NAMED(CKU_SO), NAMED(CKU_USER)};

constexpr Name attributes[] = {
    NAMED(CKA_CLASS),
    NAMED(CKA_TOKEN),
    NAMED(CKA_PRIVATE),
    NAMED(CKA_LABEL),
    NAMED(CKA_VALUE),
    NAMED(CKA_KEY_TYPE),
    NAMED(CKA_ID),
    NAMED(CKA_SENSITIVE),
    NAMED(CKA_ENCRYPT),
    NAMED(CKA_DECRYPT),
    NAMED(CKA_WRAP),
    NAMED(CKA_UNWRAP),
    NAMED(CKA_SIGN),
    NAMED(CKA_VERIFY),
    NAMED(CKA_MODULUS),
    NAMED(CKA_MODULUS_BITS),
    NAMED(CKA_PUBLIC_EXPONENT),
};

constexpr Name classes[] = {
    NAMED(CKO_DATA),       NAMED(CKO_CERTIFICATE), NAMED(CKO_PUBLIC_KEY),        NAMED(CKO_PRIVATE_KEY),
    NAMED(CKO_SECRET_KEY), NAMED(CKO_HW_FEATURE),  NAMED(CKO_DOMAIN_PARAMETERS), NAMED(CKO_MECHANISM),
};

constexpr Name keyTypes[] = {NAMED(CKK_RSA), NAMED(CKK_GOSTR3410)};

constexpr Name mechanisms[] = {NAMED(CKM_RSA_PKCS_KEY_PAIR_GEN), NAMED(CKM_GOSTR3410_KEY_PAIR_GEN)};

} // namespace

std::string codeName(CK_RV code)
{
    return lookUp(codes, code);
}
std::string userTypeName(CK_USER_TYPE type)
{
    return lookUp(userTypes, type);
}
std::string attributeName(CK_ATTRIBUTE_TYPE type)
{
    return lookUp(attributes, type);
}
std::string className(CK_OBJECT_CLASS value)
{
    return lookUp(classes, value);
}
std::string keyTypeName(CK_KEY_TYPE value)
{
    return lookUp(keyTypes, value);
}
std::string mechanismName(CK_MECHANISM_TYPE type)
{
    return lookUp(mechanisms, type);
}

std::string hexNumber(unsigned long value)
{
    char text[2 + 16 + 1];
    std::snprintf(text, sizeof text, "%#lx", value);
    return value == 0 ? "0x0" : text;
}

} // namespace scripted
