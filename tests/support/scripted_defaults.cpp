// SPDX-License-Identifier: Apache-2.0
// What each function of the scripted module does until a test replaces it.
#include "tests/support/scripted_module.h"

#include <cstring>

namespace scripted {
namespace {

/// `name(count):first,second;` for a run of strings.
std::string echo(const char* name, const CK_BYTE* strings, CK_ULONG count, CK_ULONG stringsEach)
{
    std::string text = std::string(name) + "(" + std::to_string(count) + "):";
    const char* string = reinterpret_cast<const char*>(strings);
    for (CK_ULONG i = 0; strings != nullptr && i < count * stringsEach; ++i) {
        text += (i == 0 ? "" : ",") + std::string(string);
        string += std::strlen(string) + 1;
    }
    return text + ";";
}

} // namespace

void ScriptedModule::setDefaults()
{
    // Every default function holds the lock for its whole length; a replacement that calls one may hold it already.
    const auto locked = [this](auto body) {
        return [this, body](auto... args) {
            const std::lock_guard<std::recursive_mutex> lock(mutex_);
            return body(args...);
        };
    };
    C_Initialize = locked([this](void*) { return initialize(); });
    C_Finalize = locked([this](void*) { return finalize(); });
    C_GetSlotList = locked([this](CK_BBOOL, CK_SLOT_ID* list, CK_ULONG* count) { return listSlots(list, count); });
    C_GetSlotInfo = locked([this](CK_SLOT_ID id, CK_SLOT_INFO* info) { return slotInfo(id, info); });
    C_GetTokenInfo = locked([this](CK_SLOT_ID id, CK_TOKEN_INFO* info) { return tokenInfo(id, info); });
    C_InitToken = locked([this](CK_SLOT_ID id, CK_BYTE* pin, CK_ULONG length, CK_BYTE* label) {
        return initToken(id, textOf(pin, length), textOf(label, 32));
    });
    C_OpenSession = locked([this](CK_SLOT_ID id, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
        return openSession(id, session);
    });
    C_GetSessionInfo =
        locked([this](CK_SESSION_HANDLE session, CK_SESSION_INFO* info) { return sessionInfo(session, info); });
    C_CloseSession = locked([this](CK_SESSION_HANDLE session) { return closeSession(session); });
    C_Login = locked([this](CK_SESSION_HANDLE session, CK_USER_TYPE type, CK_BYTE* pin, CK_ULONG length) {
        return login(session, type, textOf(pin, length));
    });
    C_SetPIN = locked(
        [this](CK_SESSION_HANDLE session, CK_BYTE* oldPin, CK_ULONG oldLength, CK_BYTE* newPin, CK_ULONG newLength) {
            return setPin(session, textOf(oldPin, oldLength), textOf(newPin, newLength));
        });
    C_FindObjectsInit = locked([this](CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
        return startSearch(session, attributes, count);
    });
    C_FindObjects = locked([this](CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* handles, CK_ULONG room,
                                  CK_ULONG* count) { return search(session, handles, room, count); });
    C_FindObjectsFinal = locked([this](CK_SESSION_HANDLE session) { return endSearch(session); });
    C_GetAttributeValue = locked([this](CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                                        CK_ULONG count) { return readAttributes(session, object, attributes, count); });
    C_DestroyObject =
        locked([this](CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) { return destroy(session, object); });
    C_GenerateKeyPair = locked([this](CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* publicTemplate,
                                      CK_ULONG publicCount, CK_ATTRIBUTE* privateTemplate, CK_ULONG privateCount,
                                      CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey) {
        return generate(session, *mechanism, publicTemplate, publicCount, privateTemplate, privateCount, publicKey,
                        privateKey);
    });
    C_TOVR_ImportCert = locked([this](CK_SESSION_HANDLE session, CK_BYTE* first, CK_ULONG firstLength, CK_BYTE* second,
                                      CK_ULONG secondLength) {
        return import(session, certificate("", copyOf(second, secondLength), copyOf(first, firstLength)));
    });
    C_TOVR_ImportX509Certificate = locked([this](CK_SESSION_HANDLE session, const char* label, CK_BYTE* id,
                                                 CK_ULONG idLength, CK_BYTE* value, CK_ULONG valueLength) {
        return import(session, certificate(label, copyOf(id, idLength), copyOf(value, valueLength)));
    });
    C_TOVR_CreateCSR =
        locked([this](CK_SESSION_HANDLE session, CK_OBJECT_HANDLE publicKey, CK_BYTE* subject, CK_ULONG subjectCount,
                      CK_BYTE* csr, CK_ULONG* csrLength, CK_OBJECT_HANDLE privateKeyHandle, CK_BYTE* attributes,
                      CK_ULONG attributeCount, CK_BYTE* extensions, CK_ULONG extensionCount) {
            return deliver(session,
                           "public " + std::to_string(publicKey) + ";private " + std::to_string(privateKeyHandle) +
                               ";" + echo("subject", subject, subjectCount, 2) +
                               echo("attributes", attributes, attributeCount, 2) +
                               echo("extensions", extensions, extensionCount, 3),
                           csr, csrLength);
        });
    C_TOVR_pkcs7Sign =
        locked([this](CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLength, CK_OBJECT_HANDLE signer,
                      CK_BYTE* signature, CK_ULONG* signatureLength, CK_OBJECT_HANDLE privateKeyHandle,
                      CK_OBJECT_HANDLE* certificates, CK_ULONG certificateCount, CK_ULONG flags) {
            return deliver(session,
                           "certificate " + std::to_string(signer) + ";private " + std::to_string(privateKeyHandle) +
                               ";certificates " + handlesText(certificates, certificateCount) + ";flags " +
                               std::to_string(flags) + ";" + textOf(data, dataLength),
                           signature, signatureLength);
        });
    C_TOVR_pkcs7Verify =
        locked([](CK_BYTE* first, CK_ULONG firstLength, CK_BYTE* second, CK_ULONG secondLength) -> CK_RV {
            return textOf(first, firstLength) == textOf(second, secondLength) ? CKR_OK : CKR_SIGNATURE_INVALID;
        });
}

} // namespace scripted
