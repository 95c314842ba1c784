// SPDX-License-Identifier: Apache-2.0
#include "softtoken/object_file.h"

#include "include/tovr_pkcs11.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>

namespace softtoken {
namespace {

constexpr std::size_t numberLength = 8;

// SoftHSM2's own attributes, which make up a token's file.
constexpr CK_ATTRIBUTE_TYPE tokenLabel = CKA_VENDOR_DEFINED + 0x5349;
constexpr CK_ATTRIBUTE_TYPE tokenSerial = tokenLabel + 1;
constexpr CK_ATTRIBUTE_TYPE tokenFlags = tokenLabel + 2;
constexpr CK_ATTRIBUTE_TYPE soPin = tokenLabel + 3;
constexpr CK_ATTRIBUTE_TYPE userPin = tokenLabel + 4;

enum Kind : CK_ULONG { boolean = 1, number = 2, byteString = 3, attributeMap = 4, mechanisms = 5 };

using Attributes = std::map<CK_ATTRIBUTE_TYPE, Bytes>;

/// Reads a file from its beginning on. What is not there makes it fail for good.
class Reader {
public:
    explicit Reader(const Bytes& file) : next_(file.begin()), end_(file.end()) {}

    bool atEnd() const { return next_ == end_; }
    bool failed() const { return failed_; }

    Bytes bytes(CK_ULONG length)
    {
        failed_ = failed_ || length > static_cast<CK_ULONG>(end_ - next_);
        if (failed_)
            return {};
        const auto start = next_;
        next_ += static_cast<std::ptrdiff_t>(length);
        return {start, next_};
    }

    CK_ULONG readNumber()
    {
        CK_ULONG value = 0;
        for (const unsigned char byte : bytes(numberLength))
            value = value << 8U | byte;
        return value;
    }

    Bytes value(CK_ULONG kind)
    {
        switch (kind) {
        case boolean: return bytes(1);
        case number: return bytes(numberLength);
        case byteString:
        case attributeMap: return bytes(readNumber());
        case mechanisms: {
            const CK_ULONG count = readNumber();
            failed_ = failed_ || count > static_cast<CK_ULONG>(end_ - next_) / numberLength;
            return bytes(count * numberLength);
        }
        default: failed_ = true; return {};
        }
    }

private:
    Bytes::const_iterator next_;
    const Bytes::const_iterator end_;
    bool failed_ = false;
};

/// Nothing for a file that ends in the middle.
std::optional<Attributes> parse(const Bytes& file)
{
    Reader reader(file);
    Attributes attributes;
    (void)reader.readNumber(); // the generation
    while (!reader.failed() && !reader.atEnd()) {
        const CK_ATTRIBUTE_TYPE type = reader.readNumber();
        attributes[type] = reader.value(reader.readNumber());
    }
    if (reader.failed())
        return {};
    return attributes;
}

CK_ULONG asNumber(const Bytes& value)
{
    return Reader(value).readNumber();
}

bool hasAll(const Attributes& attributes, std::initializer_list<CK_ATTRIBUTE_TYPE> types)
{
    return std::all_of(types.begin(), types.end(), [&](CK_ATTRIBUTE_TYPE type) { return attributes.count(type) != 0; });
}

} // namespace

bool isWholeToken(const Bytes& file)
{
    const auto attributes = parse(file);
    if (!attributes || !hasAll(*attributes, {tokenLabel, tokenSerial, tokenFlags, soPin}))
        return false;
    return !(asNumber(attributes->at(tokenFlags)) & CKF_USER_PIN_INITIALIZED) || attributes->count(userPin) != 0;
}

bool isWholeObject(const Bytes& file)
{
    const auto attributes = parse(file);
    if (!attributes || !hasAll(*attributes, {CKA_CLASS, CKA_DESTROYABLE}))
        return false;
    switch (asNumber(attributes->at(CKA_CLASS))) {
    case CKO_PUBLIC_KEY:
    case CKO_PRIVATE_KEY:
    case CKO_SECRET_KEY: return attributes->count(CKA_ALLOWED_MECHANISMS) != 0;
    default: return true;
    }
}

bool areSameToken(const Bytes& one, const Bytes& other)
{
    auto first = parse(one);
    auto second = parse(other);
    if (!first || !second)
        return false;
    first->erase(tokenFlags);
    second->erase(tokenFlags);
    return *first == *second;
}

Bytes renumbered(Bytes file)
{
    auto fresh = static_cast<CK_ULONG>(std::chrono::system_clock::now().time_since_epoch().count());
    for (std::size_t i = numberLength; i > 0 && file.size() >= numberLength; --i, fresh >>= 8U)
        file[i - 1] = static_cast<unsigned char>(fresh);
    return file;
}

} // namespace softtoken
