// SPDX-License-Identifier: Apache-2.0
// The calls by the bare sequence: the same module calls in the same order, in plain C style, and nothing else.
#include "bench/bare_frame.h"

#include <cstring>

namespace {

CK_BYTE output[outputRoom];
CK_OBJECT_HANDLE found[objectRoom];

CK_RV changeUserPin(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    return list->standard.C_SetPIN(session, in.userPin.data(), in.userPin.size(), in.userPin.data(), in.userPin.size());
}

CK_RV changeSoPin(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    return list->standard.C_SetPIN(session, in.soPin.data(), in.soPin.size(), in.soPin.data(), in.soPin.size());
}

CK_RV initialiseToken(Functions list, CK_SLOT_ID slot, Inputs& in)
{
    CK_BYTE label[] = "VORNIX Token                    ";
    return list->standard.C_InitToken(slot, in.soPin.data(), in.soPin.size(), label);
}

CK_RV describeToken(Functions list, CK_SLOT_ID slot, Inputs&)
{
    CK_TOKEN_INFO info;
    return list->standard.C_GetTokenInfo(slot, &info);
}

CK_RV findAll(Functions list, CK_SESSION_HANDLE session, CK_ULONG* count)
{
    CK_ULONG more = 0;
    CK_RV rv = list->standard.C_FindObjectsInit(session, nullptr, 0);
    *count = 0;
    do {
        rv |= list->standard.C_FindObjects(session, &found[*count], 1, &more);
        *count += more;
    } while (more != 0 && *count < objectRoom);
    rv |= list->standard.C_FindObjectsFinal(session);
    return rv;
}

CK_RV destroyAll(Functions list, CK_SESSION_HANDLE session, Inputs&)
{
    CK_ULONG count = 0;
    CK_RV rv = findAll(list, session, &count);
    for (CK_ULONG i = 0; i < count; ++i)
        rv |= list->standard.C_DestroyObject(session, found[i]);
    return rv;
}

/// Points the attributes of an answered length query at the output, one behind the other.
void provideRoom(CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    CK_BYTE* room = output;
    for (CK_ULONG i = 0; i < count; ++i) {
        if (attributes[i].ulValueLen == CK_UNAVAILABLE_INFORMATION)
            attributes[i].ulValueLen = 0;
        attributes[i].pValue = attributes[i].ulValueLen == 0 ? nullptr : room;
        room += attributes[i].ulValueLen;
    }
}

CK_RV describeAll(Functions list, CK_SESSION_HANDLE session, Inputs&)
{
    CK_ULONG count = 0;
    CK_RV rv = findAll(list, session, &count);
    for (CK_ULONG i = 0; i < count; ++i) {
        CK_ATTRIBUTE attributes[] = {
            {CKA_CLASS, nullptr, 0}, {CKA_ID, nullptr, 0}, {CKA_LABEL, nullptr, 0}, {CKA_KEY_TYPE, nullptr, 0}};
        CK_RV missing = list->standard.C_GetAttributeValue(session, found[i], attributes, 4);
        provideRoom(attributes, 4);
        missing |= list->standard.C_GetAttributeValue(session, found[i], attributes, 4);
        rv |= missing == CKR_ATTRIBUTE_TYPE_INVALID ? CKR_OK : missing;
    }
    return rv;
}

/// Finds by class and ID and, unless `label` is null, label. The search stays active.
CK_RV findOne(Functions list, CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass, const char* label, Bytes& id,
              CK_OBJECT_HANDLE* object)
{
    CK_ULONG count = 0;
    CK_ATTRIBUTE criteria[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                               {CKA_ID, id.data(), id.size()},
                               {CKA_LABEL, const_cast<char*>(label), label == nullptr ? 0 : strlen(label)}};
    CK_RV rv = list->standard.C_FindObjectsInit(session, criteria, label == nullptr ? 2 : 3);
    rv |= list->standard.C_FindObjects(session, object, 1, &count);
    return count == 1 ? rv : CKR_FUNCTION_FAILED;
}

CK_RV readCertificate(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    CK_OBJECT_HANDLE object = 0;
    CK_ATTRIBUTE value = {CKA_VALUE, nullptr, 0};
    CK_RV rv = findOne(list, session, CKO_CERTIFICATE, in.label.c_str(), in.id, &object);
    rv |= list->standard.C_GetAttributeValue(session, object, &value, 1);
    provideRoom(&value, 1);
    rv |= list->standard.C_GetAttributeValue(session, object, &value, 1);
    rv |= list->standard.C_FindObjectsFinal(session);
    return rv;
}

CK_RV readPublicKey(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    CK_OBJECT_HANDLE object = 0;
    CK_ATTRIBUTE values[] = {{CKA_MODULUS, nullptr, 0}, {CKA_PUBLIC_EXPONENT, nullptr, 0}};
    CK_RV rv = findOne(list, session, CKO_PUBLIC_KEY, in.label.c_str(), in.id, &object);
    rv |= list->standard.C_GetAttributeValue(session, object, values, 2);
    provideRoom(values, 2);
    rv |= list->standard.C_GetAttributeValue(session, object, values, 2);
    rv |= list->standard.C_FindObjectsFinal(session);
    return rv;
}

CK_RV importNamed(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    return list->C_TOVR_ImportX509Certificate(session, in.newLabel.c_str(), in.newId.data(), in.newId.size(),
                                              in.certificate.data(), in.certificate.size());
}

CK_RV importBlocks(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    return list->C_TOVR_ImportCert(session, in.certificate.data(), in.certificate.size(), in.newId.data(),
                                   in.newId.size());
}

CK_RV generate(Functions list, CK_SESSION_HANDLE session, Inputs& in, CK_MECHANISM_TYPE type, CK_ATTRIBUTE size,
               CK_ATTRIBUTE exponent)
{
    CK_MECHANISM mechanism = {type, nullptr, 0};
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_CLASS publicClass = CKO_PUBLIC_KEY;
    CK_OBJECT_CLASS privateClass = CKO_PRIVATE_KEY;
    const CK_ATTRIBUTE label = {CKA_LABEL, const_cast<char*>(in.newLabel.data()), in.newLabel.size()};
    const CK_ATTRIBUTE id = {CKA_ID, in.newId.data(), in.newId.size()};
    CK_ATTRIBUTE publicTemplate[] = {{CKA_CLASS, &publicClass, sizeof publicClass},
                                     {CKA_TOKEN, &yes, sizeof yes},
                                     {CKA_ENCRYPT, &yes, sizeof yes},
                                     {CKA_VERIFY, &yes, sizeof yes},
                                     {CKA_WRAP, &yes, sizeof yes},
                                     size,
                                     exponent,
                                     label,
                                     id};
    CK_ATTRIBUTE privateTemplate[] = {{CKA_CLASS, &privateClass, sizeof privateClass},
                                      {CKA_TOKEN, &yes, sizeof yes},
                                      {CKA_PRIVATE, &yes, sizeof yes},
                                      {CKA_SENSITIVE, &yes, sizeof yes},
                                      {CKA_DECRYPT, &yes, sizeof yes},
                                      {CKA_SIGN, &yes, sizeof yes},
                                      {CKA_UNWRAP, &yes, sizeof yes},
                                      label,
                                      id};
    CK_OBJECT_HANDLE publicKey = 0;
    CK_OBJECT_HANDLE privateKey = 0;
    return list->standard.C_GenerateKeyPair(session, &mechanism, publicTemplate, 9, privateTemplate, 9, &publicKey,
                                            &privateKey);
}

CK_RV generateRsa(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    CK_BYTE exponent[] = {0x01, 0x00, 0x01};
    return generate(list, session, in, CKM_RSA_PKCS_KEY_PAIR_GEN,
                    {CKA_MODULUS_BITS, &in.modulusBits, sizeof in.modulusBits},
                    {CKA_PUBLIC_EXPONENT, exponent, sizeof exponent});
}

CK_RV generateGost(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    return generate(list, session, in, CKM_GOSTR3410_KEY_PAIR_GEN, {}, {});
}

CK_RV findSigner(Functions list, CK_SESSION_HANDLE session, CK_OBJECT_CLASS publicClass, Bytes& id,
                 CK_OBJECT_HANDLE* publicPart, CK_OBJECT_HANDLE* privateKey)
{
    CK_RV rv = findOne(list, session, publicClass, nullptr, id, publicPart);
    rv |= list->standard.C_FindObjectsFinal(session);
    rv |= findOne(list, session, CKO_PRIVATE_KEY, nullptr, id, privateKey);
    rv |= list->standard.C_FindObjectsFinal(session);
    return rv;
}

CK_RV sign(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    CK_OBJECT_HANDLE certificate = 0;
    CK_OBJECT_HANDLE key = 0;
    CK_ULONG length = 0;
    CK_RV rv = findSigner(list, session, CKO_CERTIFICATE, in.id, &certificate, &key);
    rv |= list->C_TOVR_pkcs7Sign(session, in.data.data(), in.data.size(), certificate, nullptr, &length, key, nullptr,
                                 0, 0);
    rv |= list->C_TOVR_pkcs7Sign(session, in.data.data(), in.data.size(), certificate, output, &length, key, nullptr, 0,
                                 0);
    return rv;
}

CK_RV verify(Functions list, CK_SLOT_ID, Inputs& in)
{
    return list->C_TOVR_pkcs7Verify(in.message.data(), in.message.size(), nullptr, 0);
}

CK_RV request(Functions list, CK_SESSION_HANDLE session, Inputs& in)
{
    CK_OBJECT_HANDLE publicKey = 0;
    CK_OBJECT_HANDLE privateKey = 0;
    CK_ULONG length = 0;
    CK_RV rv = findSigner(list, session, CKO_PUBLIC_KEY, in.id, &publicKey, &privateKey);
    rv |= list->C_TOVR_CreateCSR(session, publicKey, in.subject.data(), 1, nullptr, &length, privateKey,
                                 in.attributes.data(), 1, in.extensions.data(), 1);
    rv |= list->C_TOVR_CreateCSR(session, publicKey, in.subject.data(), 1, output, &length, privateKey,
                                 in.attributes.data(), 1, in.extensions.data(), 1);
    return rv;
}

} // namespace

std::map<std::string, Call> bareCalls()
{
    return {
        {"SetPin", asUser<changeUserPin>},
        {"SetPuk", onToken<inSession<changeSoPin, CKU_SO>>},
        {"InitCard", onToken<initialiseToken>},
        {"CleanCard", asUser<destroyAll>},
        {"GetTokenInfo", onToken<describeToken>},
        {"ListObjects", asUser<describeAll>},
        {"GetX509Certificate", asUser<readCertificate>},
        {"GetPublicKey", asUser<readPublicKey>},
        {"ImportX509Certificate", asUser<importNamed>},
        {"ImportCert", asUser<importBlocks>},
        {"GenerateKeyPair", asUser<generateRsa>},
        {"GenerateGostR3410_2001KeyPair", asUser<generateGost>},
        {"pkcs7Sign", asUser<sign>},
        {"pkcs7Verify", withModule<verify>},
        {"createCSR", asUser<request>},
    };
}
