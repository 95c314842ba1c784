// SPDX-License-Identifier: Apache-2.0
// PKCS #11 constants by name, for transcripts and failure messages.
#pragma once

#include <p11-kit/pkcs11.h>

#include <string>

namespace scripted {

/// "CKR_PIN_INCORRECT"; a code without a name is given as 0x and hexadecimal digits.
[[nodiscard]] std::string codeName(CK_RV code);
[[nodiscard]] std::string userTypeName(CK_USER_TYPE type);
[[nodiscard]] std::string attributeName(CK_ATTRIBUTE_TYPE type);
[[nodiscard]] std::string className(CK_OBJECT_CLASS value);
[[nodiscard]] std::string keyTypeName(CK_KEY_TYPE value);
[[nodiscard]] std::string mechanismName(CK_MECHANISM_TYPE type);

/// "0x1f"
[[nodiscard]] std::string hexNumber(unsigned long value);

} // namespace scripted
