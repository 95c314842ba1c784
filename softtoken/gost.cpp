// SPDX-License-Identifier: Apache-2.0
#include "softtoken/gost.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace softtoken {
namespace {

using Oid = std::array<CK_BYTE, 9>;

/// CryptoPro's curve A, 1.2.643.2.2.35.1, the one of these curves that GnuTLS has.
constexpr Oid curveParameters = {0x06, 0x07, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x23, 0x01};
constexpr gnutls_ecc_curve_t curve = GNUTLS_ECC_CURVE_GOST256CPA;
/// CryptoPro's parameters of GOST R 34.11-94, 1.2.643.2.2.30.1
constexpr Oid digestParameters = {0x06, 0x07, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x1E, 0x01};

void requireCurve(const Session& session, CK_OBJECT_HANDLE object)
{
    const Bytes oid = readBytes(session, object, CKA_GOSTR3410_PARAMS);
    require(std::equal(oid.begin(), oid.end(), curveParameters.begin(), curveParameters.end()),
            CKR_DOMAIN_PARAMS_INVALID);
}

/// Wipes what the bytes are at the end of its scope.
class Wiper {
public:
    explicit Wiper(Bytes& bytes) : bytes_(bytes) {}
    ~Wiper() { OPENSSL_cleanse(bytes_.data(), bytes_.size()); }
    Wiper(const Wiper&) = delete;
    Wiper& operator=(const Wiper&) = delete;

private:
    Bytes& bytes_;
};

/// GnuTLS leaves the zeros at a number's end away or adds one.
void takeNumber(gnutls_datum_t& datum, Bytes& number)
{
    Bytes taken = take(datum);
    const Wiper wiper(taken);
    number.assign(gostValueLength, 0);
    std::copy_n(taken.begin(), std::min(taken.size(), gostValueLength), number.begin());
}

struct KeyPair {
    KeyPair()
    {
        const PrivateKey key = newPrivateKey();
        checkGnutls(gnutls_privkey_generate(key.get(), GNUTLS_PK_GOST_01, GNUTLS_CURVE_TO_BITS(curve), 0),
                    CKR_FUNCTION_FAILED);
        gnutls_datum_t x = {};
        gnutls_datum_t y = {};
        gnutls_datum_t k = {};
        checkGnutls(gnutls_privkey_export_gost_raw2(key.get(), nullptr, nullptr, nullptr, &x, &y, &k, 0),
                    CKR_FUNCTION_FAILED);
        Bytes second;
        takeNumber(k, privateValue);
        takeNumber(x, publicValue);
        takeNumber(y, second);
        publicValue.insert(publicValue.end(), second.begin(), second.end());
    }

    Bytes publicValue;
    Bytes privateValue;
    Wiper wiper{privateValue};
};

template <typename Value>
void requireValue(const CK_ATTRIBUTE& given, const Value& value, CK_RV code)
{
    require(given.pValue && given.ulValueLen == sizeof value && std::memcmp(given.pValue, &value, sizeof value) == 0,
            code);
}

/// What of a caller's template goes into the stored object. Entries filled with zeros count as absent. The caller may
/// name class, key type and parameters, but not contradict them; the token sets them itself.
std::vector<CK_ATTRIBUTE> accept(CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_CLASS objectClass)
{
    const CK_KEY_TYPE keyType = CKK_GOSTR3410;
    std::vector<CK_ATTRIBUTE> accepted;
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ATTRIBUTE& entry = attributes[i];
        requireInput(entry.pValue, entry.ulValueLen);
        if (entry.type == 0 && !entry.pValue)
            continue;
        switch (entry.type) {
        case CKA_CLASS: requireValue(entry, objectClass, CKR_TEMPLATE_INCONSISTENT); break;
        case CKA_KEY_TYPE: requireValue(entry, keyType, CKR_TEMPLATE_INCONSISTENT); break;
        case CKA_GOSTR3410_PARAMS: requireValue(entry, curveParameters, CKR_DOMAIN_PARAMS_INVALID); break;
        case CKA_GOSTR3411_PARAMS: requireValue(entry, digestParameters, CKR_DOMAIN_PARAMS_INVALID); break;
        case CKA_SENSITIVE:
        case CKA_EXTRACTABLE: break;
        default: accepted.push_back(entry);
        }
    }
    return accepted;
}

CK_OBJECT_HANDLE createKey(const Session& session, std::vector<CK_ATTRIBUTE> attributes, CK_OBJECT_CLASS objectClass,
                           const Bytes& value)
{
    const CK_KEY_TYPE keyType = CKK_GOSTR3410;
    const CK_BBOOL isPrivate = objectClass == CKO_PRIVATE_KEY;
    const CK_BBOOL yes = CK_TRUE;
    const CK_BBOOL no = CK_FALSE;
    // First, so that the caller's own choice overrides it.
    attributes.insert(attributes.begin(), attribute(CKA_PRIVATE, isPrivate));
    attributes.insert(attributes.end(),
                      {attribute(CKA_CLASS, objectClass), attribute(CKA_KEY_TYPE, keyType),
                       attribute(CKA_GOSTR3410_PARAMS, curveParameters),
                       attribute(CKA_GOSTR3411_PARAMS, digestParameters), attribute(CKA_VALUE, value)});
    // Read back by every signature, so SoftHSM2 must not hold it as sensitive.
    if (isPrivate)
        attributes.insert(attributes.end(), {attribute(CKA_SENSITIVE, no), attribute(CKA_EXTRACTABLE, yes)});
    return createObject(session, std::move(attributes));
}

} // namespace

void importGostPublicKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_pubkey_t key)
{
    requireCurve(session, object);
    const Bytes value = readBytes(session, object, CKA_VALUE);
    require(value.size() == 2 * gostValueLength, CKR_KEY_TYPE_INCONSISTENT);
    const gnutls_datum_t x = borrow(value.data(), gostValueLength);
    const gnutls_datum_t y = borrow(value.data() + gostValueLength, gostValueLength);
    checkGnutls(gnutls_pubkey_import_gost_raw(key, curve, GNUTLS_DIG_GOSTR_94, GNUTLS_GOST_PARAMSET_UNKNOWN, &x, &y),
                CKR_KEY_TYPE_INCONSISTENT);
}

void importGostPrivateKey(const Session& session, CK_OBJECT_HANDLE object, gnutls_privkey_t key)
{
    requireCurve(session, object);
    Bytes value = readBytes(session, object, CKA_VALUE);
    const Wiper wiper(value);
    require(value.size() == gostValueLength, CKR_KEY_TYPE_INCONSISTENT);
    const gnutls_datum_t k = borrow(value);
    // GnuTLS works the public point out of the private value, whatever stands in its place.
    checkGnutls(
        gnutls_privkey_import_gost_raw(key, curve, GNUTLS_DIG_GOSTR_94, GNUTLS_GOST_PARAMSET_UNKNOWN, &k, &k, &k),
        CKR_KEY_TYPE_INCONSISTENT);
}

void generateGostKeyPair(const Session& session, CK_ATTRIBUTE_PTR publicTemplate, CK_ULONG publicCount,
                         CK_ATTRIBUTE_PTR privateTemplate, CK_ULONG privateCount, CK_OBJECT_HANDLE_PTR publicKey,
                         CK_OBJECT_HANDLE_PTR privateKey)
{
    requireUser(session);
    require(publicKey && privateKey, CKR_ARGUMENTS_BAD);
    requireInput(publicTemplate, publicCount);
    requireInput(privateTemplate, privateCount);
    std::vector<CK_ATTRIBUTE> publicAttributes = accept(publicTemplate, publicCount, CKO_PUBLIC_KEY);
    std::vector<CK_ATTRIBUTE> privateAttributes = accept(privateTemplate, privateCount, CKO_PRIVATE_KEY);
    const KeyPair pair;
    const CK_OBJECT_HANDLE created = createKey(session, std::move(publicAttributes), CKO_PUBLIC_KEY, pair.publicValue);
    *privateKey = createKey(session, std::move(privateAttributes), CKO_PRIVATE_KEY, pair.privateValue);
    *publicKey = created;
}

} // namespace softtoken
