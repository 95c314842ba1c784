// Certificates and keys: reading, importing and generating them.
#include "p11/P11Wrapper.h"

#include "include/tovr_pkcs11.h"
#include "p11/object_search.h"
#include "p11/session.h"
#include "p11/two_call_fetch.h"

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Attributes = std::vector<CK_ATTRIBUTE>;

CK_ATTRIBUTE labelAttribute(const char* label)
{
    return {CKA_LABEL, const_cast<char*>(label), static_cast<CK_ULONG>(std::strlen(label))};
}

/// An attribute to read and the output that takes its value.
struct AttributeOutput {
    CK_ATTRIBUTE_TYPE type;
    std::vector<unsigned char>& value;
};

/// Reads attributes of the first object with this class, label and, unless `idLen` is 0, ID. The search stays active
/// while they are read.
CK_RV readObject(const P11Wrapper& wrapper, CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen,
                 CK_OBJECT_CLASS objectClass, const char* label, unsigned char* id, CK_ULONG idLen,
                 const std::vector<AttributeOutput>& outputs)
{
    Attributes criteria{{CKA_CLASS, &objectClass, sizeof objectClass}, labelAttribute(label)};
    if (idLen != 0)
        criteria.push_back({CKA_ID, id, idLen});

    AuthenticatedSession session(wrapper, slotId, CKU_USER, pin, pinLen);
    if (!session)
        return session.result();
    ObjectSearch search(session, criteria.data(), criteria.size());
    if (!search)
        return search.result();
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    const CK_RV rv = search.findOne(object);
    if (rv != CKR_OK)
        return rv;

    Attributes query;
    for (const AttributeOutput& output : outputs)
        query.push_back({output.type, nullptr, 0});
    const std::string handle = std::to_string(object);
    return twoCallFetch(
        {"C_GetAttributeValue failed for " + handle, "C_GetAttributeValue failed #2 for " + handle},
        [&] { return session.functions()->C_GetAttributeValue(session.handle(), object, query.data(), query.size()); },
        [&] {
            for (std::size_t i = 0; i < query.size(); ++i)
                provideBuffer(query[i], outputs[i].value);
            return true;
        });
}

/// Hands a certificate to the module within a session. The line of a failure follows the closing of the session.
template <typename Import>
CK_RV importCertificate(const P11Wrapper& wrapper, CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen,
                        Import import)
{
    AuthenticatedSession session(wrapper, slotId, CKU_USER, pin, pinLen);
    if (!session)
        return session.result();
    const CK_RV rv = import(session.handle());
    session.close();
    if (rv != CKR_OK)
        diagnose("Load failed. Code: ", rv);
    return rv;
}

/// Generates a key pair under a label, unless it is null, and an ID, unless `idLen` is 0. `sizeAttributes` are the two
/// entries of the public template that tell the size of the key.
CK_RV generateKeyPair(const P11Wrapper& wrapper, CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen,
                      CK_MECHANISM_TYPE mechanismType, const std::array<CK_ATTRIBUTE, 2>& sizeAttributes,
                      const char* label, unsigned char* id, CK_ULONG idLen)
{
    CK_MECHANISM mechanism{mechanismType, nullptr, 0};
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_CLASS publicClass = CKO_PUBLIC_KEY;
    CK_OBJECT_CLASS privateClass = CKO_PRIVATE_KEY;
    Attributes publicTemplate{{CKA_CLASS, &publicClass, sizeof publicClass},
                              {CKA_TOKEN, &yes, sizeof yes},
                              {CKA_ENCRYPT, &yes, sizeof yes},
                              {CKA_VERIFY, &yes, sizeof yes},
                              {CKA_WRAP, &yes, sizeof yes},
                              sizeAttributes[0],
                              sizeAttributes[1]};
    Attributes privateTemplate{{CKA_CLASS, &privateClass, sizeof privateClass},
                               {CKA_TOKEN, &yes, sizeof yes},
                               {CKA_PRIVATE, &yes, sizeof yes},
                               {CKA_SENSITIVE, &yes, sizeof yes},
                               {CKA_DECRYPT, &yes, sizeof yes},
                               {CKA_SIGN, &yes, sizeof yes},
                               {CKA_UNWRAP, &yes, sizeof yes}};
    for (Attributes* keyTemplate : {&publicTemplate, &privateTemplate}) {
        if (label != nullptr)
            keyTemplate->push_back(labelAttribute(label));
        if (idLen != 0)
            keyTemplate->push_back({CKA_ID, id, idLen});
    }

    const AuthenticatedSession session(wrapper, slotId, CKU_USER, pin, pinLen);
    if (!session)
        return session.result();
    CK_OBJECT_HANDLE publicKey = CK_INVALID_HANDLE; // both keys are found again by label and ID
    CK_OBJECT_HANDLE privateKey = CK_INVALID_HANDLE;
    return session.functions()->C_GenerateKeyPair(session.handle(), &mechanism, publicTemplate.data(),
                                                  publicTemplate.size(), privateTemplate.data(), privateTemplate.size(),
                                                  &publicKey, &privateKey);
}

} // namespace

CK_RV P11Wrapper::GetX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                                     unsigned char* id, unsigned long idLen, std::vector<unsigned char>& out)
{
    return readObject(*this, slotId, pin, pinLen, CKO_CERTIFICATE, label, id, idLen, {{CKA_VALUE, out}});
}

CK_RV P11Wrapper::GetPublicKey(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                               unsigned char* id, unsigned long idLen, std::vector<unsigned char>& modulus,
                               std::vector<unsigned char>& exponent)
{
    return readObject(*this, slotId, pin, pinLen, CKO_PUBLIC_KEY, label, id, idLen,
                      {{CKA_MODULUS, modulus}, {CKA_PUBLIC_EXPONENT, exponent}});
}

CK_RV P11Wrapper::ImportX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                        const char* label, unsigned char* id, unsigned long idLen, unsigned char* cert,
                                        unsigned long certLen)
{
    return importCertificate(*this, slotId, pin, pinLen, [&](CK_SESSION_HANDLE session) {
        return extendedList(functionList)->C_TOVR_ImportX509Certificate(session, label, id, idLen, cert, certLen);
    });
}

CK_RV P11Wrapper::ImportCert(unsigned long slotId, unsigned char* first, unsigned long firstLen, unsigned char* second,
                             unsigned long secondLen, unsigned char* pin, unsigned long pinLen)
{
    return importCertificate(*this, slotId, pin, pinLen, [&](CK_SESSION_HANDLE session) {
        return extendedList(functionList)->C_TOVR_ImportCert(session, first, firstLen, second, secondLen);
    });
}

CK_RV P11Wrapper::GenerateKeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                  unsigned long modulusBits, const char* label, unsigned char* id, unsigned long idLen)
{
    unsigned char publicExponent[] = {0x01, 0x00, 0x01};
    return generateKeyPair(*this, slotId, pin, pinLen, CKM_RSA_PKCS_KEY_PAIR_GEN,
                           {{{CKA_MODULUS_BITS, &modulusBits, sizeof modulusBits},
                             {CKA_PUBLIC_EXPONENT, publicExponent, sizeof publicExponent}}},
                           label, id, idLen);
}

CK_RV P11Wrapper::GenerateGostR3410_2001KeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                                const char* label, unsigned char* id, unsigned long idLen)
{
    // The module counts seven fixed entries in a public template: a GOST key, whose size its parameter set tells,
    // leaves the two that tell an RSA key's size empty.
    return generateKeyPair(*this, slotId, pin, pinLen, CKM_GOSTR3410_KEY_PAIR_GEN, {}, label, id, idLen);
}
