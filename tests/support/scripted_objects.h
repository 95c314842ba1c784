// SPDX-License-Identifier: Apache-2.0
// The objects on the scripted token.
#pragma once

#include "tests/support/transcript.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace scripted {

/// An object's attributes. nullopt stands for a value that the object has but does not reveal
/// (CKR_ATTRIBUTE_SENSITIVE).
using Object = std::map<CK_ATTRIBUTE_TYPE, std::optional<Bytes>>;

[[nodiscard]] Bytes bytesOf(const std::string& text);
[[nodiscard]] Bytes bytesOf(CK_ULONG number); ///< eight bytes, as CKA_CLASS and CKA_KEY_TYPE are stored

[[nodiscard]] Bytes copyOf(const void* bytes, CK_ULONG length);
[[nodiscard]] std::string textOf(const void* bytes, CK_ULONG length);

[[nodiscard]] Object certificate(const std::string& label, const Bytes& id, const Bytes& value);
[[nodiscard]] Object rsaPublicKey(const std::string& label, const Bytes& id, const Bytes& modulus,
                                  const Bytes& exponent);
[[nodiscard]] Object gostPublicKey(const std::string& label, const Bytes& id);
[[nodiscard]] Object privateKey(const std::string& label, const Bytes& id, CK_KEY_TYPE type = CKK_RSA);
[[nodiscard]] Object dataObject(const std::string& label);

/// An RSA key pair "alice" (ID 01) with its certificate, a GOST key pair "boris" (ID 02ff) and a data object "note", in
/// the order: certificate, RSA public key, RSA private key, GOST public key, GOST private key, data.
[[nodiscard]] std::vector<Object> sampleObjects();

/// Whether the object has all these attributes with these values.
[[nodiscard]] bool matches(const Object& object, const CK_ATTRIBUTE* attributes, CK_ULONG count);

/// One entry of C_GetAttributeValue (PKCS #11 v2.40, section 5.7).
[[nodiscard]] CK_RV readAttribute(const Object& object, CK_ATTRIBUTE& attribute);

/// An object of this key type from a template; zero-filled entries are skipped.
[[nodiscard]] Object objectOf(const CK_ATTRIBUTE* attributes, CK_ULONG count, CK_KEY_TYPE keyType);

} // namespace scripted
