// SPDX-License-Identifier: Apache-2.0
/// @file
/// One token object as P11Wrapper::ListObjects describes it.
#pragma once

#include <string>

/// One token object. A field is empty when the object has no such attribute or does not show it.
struct ObjectAttr {
    std::string type;    ///< CKA_CLASS by name: "data", "certificate", "public key", …; "unknown" for any other class
    std::string label;   ///< CKA_LABEL, its bytes as the module returned them: not trimmed, perhaps with NUL bytes
    std::string id;      ///< CKA_ID as lowercase hexadecimal text, two digits a byte
    std::string keyType; ///< CKA_KEY_TYPE by name: "RSA", "GOSTR3410", …; "Unknown" for any other type
};
