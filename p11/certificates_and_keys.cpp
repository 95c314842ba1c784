// SPDX-License-Identifier: Apache-2.0
// Certificates and keys: reading, importing and generating them.
#include "p11/P11Wrapper.h"

#include "include/tovr_pkcs11.h"
#include "p11/jobs.h"
#include "p11/object_search.h"
#include "p11/outcome.h"
#include "p11/session.h"
#include "p11/two_call_fetch.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace {

CK_ATTRIBUTE labelAttribute(std::string_view label)
{
    return {CKA_LABEL, const_cast<char*>(label.data()), label.size()};
}

CK_ATTRIBUTE idAttribute(ByteRun id)
{
    return {CKA_ID, id.first, id.count};
}

/// What tells one object of a token from the others: class, label and, unless its length is 0, ID.
struct ObjectName {
    CK_OBJECT_CLASS objectClass;
    CK_ATTRIBUTE label;
    CK_ATTRIBUTE id;
};

/// Reads attributes of the first object of this name: output i takes the value of the attribute types[i]. The search
/// stays active while they are read.
template <std::size_t count>
Outcome readObject(const Session& session, ObjectName name, const std::array<CK_ATTRIBUTE_TYPE, count>& types,
                   const std::array<std::vector<unsigned char>*, count>& outputs)
{
    std::array<CK_ATTRIBUTE, 3> criteria{
        {{CKA_CLASS, &name.objectClass, sizeof name.objectClass}, name.label, name.id}};
    ObjectSearch search(session, criteria.data(), name.id.ulValueLen == 0 ? criteria.size() - 1 : criteria.size());
    if (!search)
        return search.refusal();
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    const Outcome found = search.findOne(object);
    if (found.code != CKR_OK)
        return found;

    std::array<CK_ATTRIBUTE, count> query{};
    for (std::size_t i = 0; i < count; ++i)
        query[i].type = types[i];
    const CK_RV rv = twoCallFetch(
        session.lines, {"C_GetAttributeValue failed for ", "C_GetAttributeValue failed #2 for "},
        [&] { return session.functions->C_GetAttributeValue(session.handle, object, query.data(), query.size()); },
        [&] {
            for (std::size_t i = 0; i < count; ++i)
                provideBuffer(query[i], *outputs[i]);
            return true;
        },
        object);
    return {rv, "C_GetAttributeValue"};
}

/// How the hand-over of a certificate ended. The line of a failure follows the closing of the session.
Outcome importOutcome(CK_RV rv, const char* step)
{
    return {rv, step, rv == CKR_OK ? nullptr : "Load failed"};
}

/// The two entries of a public key's template that tell the size of the key.
using SizeAttributes = std::array<CK_ATTRIBUTE, 2>;

/// Generates a key pair under a label, unless its pointer is null, and an ID, unless its length is 0.
Outcome generateKeyPair(const Session& session, CK_MECHANISM_TYPE mechanismType, const SizeAttributes& sizeAttributes,
                        std::string_view label, ByteRun id)
{
    CK_MECHANISM mechanism{mechanismType, nullptr, 0};
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_CLASS publicClass = CKO_PUBLIC_KEY;
    CK_OBJECT_CLASS privateClass = CKO_PRIVATE_KEY;
    // The last two entries of each are for label and ID.
    std::array<CK_ATTRIBUTE, 9> publicTemplate{{{CKA_CLASS, &publicClass, sizeof publicClass},
                                                {CKA_TOKEN, &yes, sizeof yes},
                                                {CKA_ENCRYPT, &yes, sizeof yes},
                                                {CKA_VERIFY, &yes, sizeof yes},
                                                {CKA_WRAP, &yes, sizeof yes},
                                                sizeAttributes[0],
                                                sizeAttributes[1]}};
    std::array<CK_ATTRIBUTE, 9> privateTemplate{{{CKA_CLASS, &privateClass, sizeof privateClass},
                                                 {CKA_TOKEN, &yes, sizeof yes},
                                                 {CKA_PRIVATE, &yes, sizeof yes},
                                                 {CKA_SENSITIVE, &yes, sizeof yes},
                                                 {CKA_DECRYPT, &yes, sizeof yes},
                                                 {CKA_SIGN, &yes, sizeof yes},
                                                 {CKA_UNWRAP, &yes, sizeof yes}}};
    std::size_t count = 7;
    const auto append = [&](const CK_ATTRIBUTE& attribute) {
        publicTemplate[count] = privateTemplate[count] = attribute;
        ++count;
    };
    if (label.data() != nullptr)
        append(labelAttribute(label));
    if (id.count != 0)
        append(idAttribute(id));

    CK_OBJECT_HANDLE publicKey = CK_INVALID_HANDLE; // both keys are found again by label and ID
    CK_OBJECT_HANDLE privateKey = CK_INVALID_HANDLE;
    return {session.functions->C_GenerateKeyPair(session.handle, &mechanism, publicTemplate.data(), count,
                                                 privateTemplate.data(), count, &publicKey, &privateKey),
            "C_GenerateKeyPair"};
}

/// A label as a C string, where null is none.
std::string_view optionalLabel(const char* label)
{
    return label == nullptr ? std::string_view() : std::string_view(label);
}

} // namespace

Outcome jobs::readCertificate(const Session& session, std::string_view label, ByteRun id,
                              std::vector<unsigned char>& value)
{
    return readObject<1>(session, {CKO_CERTIFICATE, labelAttribute(label), idAttribute(id)}, {CKA_VALUE}, {&value});
}

Outcome jobs::readPublicKey(const Session& session, std::string_view label, ByteRun id,
                            std::vector<unsigned char>& modulus, std::vector<unsigned char>& exponent)
{
    return readObject<2>(session, {CKO_PUBLIC_KEY, labelAttribute(label), idAttribute(id)},
                         {CKA_MODULUS, CKA_PUBLIC_EXPONENT}, {&modulus, &exponent});
}

Outcome jobs::importCertificate(const Session& session, const char* label, ByteRun id, ByteRun certificate)
{
    return importOutcome(extendedList(session.functions)
                             ->C_TOVR_ImportX509Certificate(session.handle, label, id.first, id.count,
                                                            certificate.first, certificate.count),
                         "C_TOVR_ImportX509Certificate");
}

Outcome jobs::importBlocks(const Session& session, ByteRun first, ByteRun second)
{
    return importOutcome(extendedList(session.functions)
                             ->C_TOVR_ImportCert(session.handle, first.first, first.count, second.first, second.count),
                         "C_TOVR_ImportCert");
}

Outcome jobs::generateRsaKeyPair(const Session& session, CK_ULONG modulusBits, std::string_view label, ByteRun id)
{
    unsigned char publicExponent[] = {0x01, 0x00, 0x01};
    const SizeAttributes sizeAttributes{{{CKA_MODULUS_BITS, &modulusBits, sizeof modulusBits},
                                         {CKA_PUBLIC_EXPONENT, publicExponent, sizeof publicExponent}}};
    return generateKeyPair(session, CKM_RSA_PKCS_KEY_PAIR_GEN, sizeAttributes, label, id);
}

Outcome jobs::generateGostKeyPair(const Session& session, std::string_view label, ByteRun id)
{
    // The module counts seven fixed entries in a public template: a GOST key, whose size its parameter set tells,
    // leaves the two that tell an RSA key's size empty.
    return generateKeyPair(session, CKM_GOSTR3410_KEY_PAIR_GEN, {}, label, id);
}

CK_RV P11Wrapper::GetX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                                     unsigned char* id, unsigned long idLen, std::vector<unsigned char>& out)
{
    const std::string_view name(label);
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::readCertificate(session, name, {id, idLen}, out);
    });
}

CK_RV P11Wrapper::GetPublicKey(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                               unsigned char* id, unsigned long idLen, std::vector<unsigned char>& modulus,
                               std::vector<unsigned char>& exponent)
{
    const std::string_view name(label);
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::readPublicKey(session, name, {id, idLen}, modulus, exponent);
    });
}

CK_RV P11Wrapper::ImportX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                        const char* label, unsigned char* id, unsigned long idLen, unsigned char* cert,
                                        unsigned long certLen)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::importCertificate(session, label, {id, idLen}, {cert, certLen});
    });
}

CK_RV P11Wrapper::ImportCert(unsigned long slotId, unsigned char* first, unsigned long firstLen, unsigned char* second,
                             unsigned long secondLen, unsigned char* pin, unsigned long pinLen)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::importBlocks(session, {first, firstLen}, {second, secondLen});
    });
}

CK_RV P11Wrapper::GenerateKeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                  unsigned long modulusBits, const char* label, unsigned char* id, unsigned long idLen)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::generateRsaKeyPair(session, modulusBits, optionalLabel(label), {id, idLen});
    });
}

CK_RV P11Wrapper::GenerateGostR3410_2001KeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                                const char* label, unsigned char* id, unsigned long idLen)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::generateGostKeyPair(session, optionalLabel(label), {id, idLen});
    });
}
