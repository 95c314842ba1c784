// SPDX-License-Identifier: Apache-2.0
// The function list: every entry writes its call to the transcript and hands it to the current ScriptedModule.
#include "tests/support/captured_output.h"
#include "tests/support/forbidden_functions.h"
#include "tests/support/scripted_module.h"

#include <algorithm>

namespace scripted {
namespace {

const auto nothing = [] { return std::string(); };

template <class Answer, class Outputs = decltype(nothing)>
CK_RV perform(std::string call, Answer answer, Outputs outputs = nothing)
{
    ScriptedModule* const module = ScriptedModule::current();
    if (module == nullptr) {
        forbiddenCall(call);
        return CKR_GENERAL_ERROR;
    }
    const std::size_t printed = CapturedOutput::printed();
    const std::optional<CK_RV> failure = module->scriptedFailure(call);
    const CK_RV code = failure ? *failure : answer(*module);
    if (code == CKR_OK)
        call += outputs();
    module->transcript.add(call + ": " + codeName(code), printed);
    return code;
}

std::string number(CK_ULONG value)
{
    return std::to_string(value);
}
std::string in(CK_SESSION_HANDLE session)
{
    return "session " + number(session);
}
std::string count(const CK_ULONG* value)
{
    return value == nullptr ? "null" : number(*value);
}

CK_RV initialize(void* args)
{
    return perform("C_Initialize(" + pointerText(args) + ")", [&](auto& module) { return module.C_Initialize(args); });
}

CK_RV finalize(void* reserved)
{
    return perform("C_Finalize(" + pointerText(reserved) + ")",
                   [&](auto& module) { return module.C_Finalize(reserved); });
}

CK_RV getSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* list, CK_ULONG* length)
{
    return perform(
        "C_GetSlotList(token present " + number(tokenPresent) + ", list " +
            handlesText(list, list == nullptr ? 0 : *length) + ", count " + count(length) + ")",
        [&](auto& module) { return module.C_GetSlotList(tokenPresent, list, length); },
        [&] { return " -> count " + count(length); });
}

CK_RV getSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info)
{
    return perform("C_GetSlotInfo(slot " + number(slot) + ")",
                   [&](auto& module) { return module.C_GetSlotInfo(slot, info); });
}

CK_RV getTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info)
{
    return perform("C_GetTokenInfo(slot " + number(slot) + ")",
                   [&](auto& module) { return module.C_GetTokenInfo(slot, info); });
}

CK_RV initToken(CK_SLOT_ID slot, CK_BYTE* pin, CK_ULONG pinLength, CK_BYTE* label)
{
    return perform("C_InitToken(slot " + number(slot) + ", PIN " + runText(pin, pinLength) + ", label " +
                       runText(label, 32) + ")",
                   [&](auto& module) { return module.C_InitToken(slot, pin, pinLength, label); });
}

CK_RV openSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session)
{
    return perform(
        "C_OpenSession(slot " + number(slot) + ", flags " + hexNumber(flags) + ", application " +
            pointerText(application) + ", notify " + (notify == nullptr ? "null" : "set") + ")",
        [&](auto& module) { return module.C_OpenSession(slot, flags, application, notify, session); },
        [&] { return " -> session " + count(session); });
}

CK_RV getSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info)
{
    return perform("C_GetSessionInfo(" + in(session) + ")",
                   [&](auto& module) { return module.C_GetSessionInfo(session, info); });
}

CK_RV closeSession(CK_SESSION_HANDLE session)
{
    return perform("C_CloseSession(" + in(session) + ")", [&](auto& module) { return module.C_CloseSession(session); });
}

CK_RV login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLength)
{
    return perform("C_Login(" + in(session) + ", " + userTypeName(user) + ", PIN " + runText(pin, pinLength) + ")",
                   [&](auto& module) { return module.C_Login(session, user, pin, pinLength); });
}

CK_RV setPin(CK_SESSION_HANDLE session, CK_BYTE* oldPin, CK_ULONG oldLength, CK_BYTE* newPin, CK_ULONG newLength)
{
    return perform("C_SetPIN(" + in(session) + ", old " + runText(oldPin, oldLength) + ", new " +
                       runText(newPin, newLength) + ")",
                   [&](auto& module) { return module.C_SetPIN(session, oldPin, oldLength, newPin, newLength); });
}

CK_RV findObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG length)
{
    return perform("C_FindObjectsInit(" + in(session) + ", " + templateText(attributes, length) + ")",
                   [&](auto& module) { return module.C_FindObjectsInit(session, attributes, length); });
}

CK_RV findObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG room, CK_ULONG* found)
{
    return perform(
        "C_FindObjects(" + in(session) + ", room for " + number(room) + ")",
        [&](auto& module) { return module.C_FindObjects(session, objects, room, found); },
        [&] { return " -> " + handlesText(objects, std::min(*found, room)); });
}

CK_RV findObjectsFinal(CK_SESSION_HANDLE session)
{
    return perform("C_FindObjectsFinal(" + in(session) + ")",
                   [&](auto& module) { return module.C_FindObjectsFinal(session); });
}

CK_RV getAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes, CK_ULONG length)
{
    const std::string call = "C_GetAttributeValue(" + in(session) + ", object " + number(object) + ", " +
                             queryText(attributes, length) + ")";
    return perform(
        call, [&](auto& module) { return module.C_GetAttributeValue(session, object, attributes, length); },
        [&] { return " -> " + lengthsText(attributes, length); });
}

CK_RV destroyObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object)
{
    return perform("C_DestroyObject(" + in(session) + ", object " + number(object) + ")",
                   [&](auto& module) { return module.C_DestroyObject(session, object); });
}

CK_RV generateKeyPair(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* publicTemplate,
                      CK_ULONG publicCount, CK_ATTRIBUTE* privateTemplate, CK_ULONG privateCount,
                      CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey)
{
    return perform(
        "C_GenerateKeyPair(" + in(session) + ", " + mechanismName(mechanism->mechanism) + " " +
            runText(mechanism->pParameter, mechanism->ulParameterLen) + ", public " +
            templateText(publicTemplate, publicCount) + ", private " + templateText(privateTemplate, privateCount) +
            ")",
        [&](auto& module) {
            return module.C_GenerateKeyPair(session, mechanism, publicTemplate, publicCount, privateTemplate,
                                            privateCount, publicKey, privateKey);
        },
        [&] { return " -> public " + count(publicKey) + ", private " + count(privateKey); });
}

CK_RV importCert(CK_SESSION_HANDLE session, CK_BYTE* first, CK_ULONG firstLength, CK_BYTE* second,
                 CK_ULONG secondLength)
{
    return perform(
        "C_TOVR_ImportCert(" + in(session) + ", first " + runText(first, firstLength) + ", second " +
            runText(second, secondLength) + ")",
        [&](auto& module) { return module.C_TOVR_ImportCert(session, first, firstLength, second, secondLength); });
}

CK_RV importX509Certificate(CK_SESSION_HANDLE session, const char* label, CK_BYTE* id, CK_ULONG idLength,
                            CK_BYTE* certificate, CK_ULONG certificateLength)
{
    return perform("C_TOVR_ImportX509Certificate(" + in(session) + ", label " + stringText(label) + ", ID " +
                       runText(id, idLength) + ", certificate " + runText(certificate, certificateLength) + ")",
                   [&](auto& module) {
                       return module.C_TOVR_ImportX509Certificate(session, label, id, idLength, certificate,
                                                                  certificateLength);
                   });
}

// The length is an output alone while the buffer is null.
std::string answerBuffer(const CK_BYTE* buffer, const CK_ULONG* length)
{
    return buffer == nullptr ? "null" : bufferText(buffer, *length);
}

// A module knows no lengths here: the strings are read as far as the counts reach.
std::string stringsText(const CK_BYTE* strings, CK_ULONG stringCount)
{
    if (strings == nullptr)
        return "null";
    std::string text = "{";
    const char* string = reinterpret_cast<const char*>(strings);
    for (CK_ULONG i = 0; i < stringCount; ++i) {
        text += (i == 0 ? "" : ", ") + stringText(string);
        string += std::char_traits<char>::length(string) + 1;
    }
    return text + "}";
}

CK_RV createCsr(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE publicKey, CK_BYTE* subject, CK_ULONG subjectCount,
                CK_BYTE* csr, CK_ULONG* csrLength, CK_OBJECT_HANDLE privateKey, CK_BYTE* attributes,
                CK_ULONG attributeCount, CK_BYTE* extensions, CK_ULONG extensionCount)
{
    return perform(
        "C_TOVR_CreateCSR(" + in(session) + ", public key " + number(publicKey) + ", subject " +
            stringsText(subject, 2 * subjectCount) + " count " + number(subjectCount) + ", buffer " +
            answerBuffer(csr, csrLength) + ", private key " + number(privateKey) + ", attributes " +
            stringsText(attributes, 2 * attributeCount) + " count " + number(attributeCount) + ", extensions " +
            stringsText(extensions, 3 * extensionCount) + " count " + number(extensionCount) + ")",
        [&](auto& module) {
            return module.C_TOVR_CreateCSR(session, publicKey, subject, subjectCount, csr, csrLength, privateKey,
                                           attributes, attributeCount, extensions, extensionCount);
        },
        [&] { return " -> length " + count(csrLength); });
}

CK_RV pkcs7Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLength, CK_OBJECT_HANDLE certificate,
                CK_BYTE* signature, CK_ULONG* signatureLength, CK_OBJECT_HANDLE privateKey,
                CK_OBJECT_HANDLE* certificates, CK_ULONG certificateCount, CK_ULONG flags)
{
    return perform(
        "C_TOVR_pkcs7Sign(" + in(session) + ", data " + runText(data, dataLength) + ", certificate " +
            number(certificate) + ", buffer " + answerBuffer(signature, signatureLength) + ", private key " +
            number(privateKey) + ", certificates " + handlesText(certificates, certificateCount) + " count " +
            number(certificateCount) + ", flags " + hexNumber(flags) + ")",
        [&](auto& module) {
            return module.C_TOVR_pkcs7Sign(session, data, dataLength, certificate, signature, signatureLength,
                                           privateKey, certificates, certificateCount, flags);
        },
        [&] { return " -> length " + count(signatureLength); });
}

CK_RV pkcs7Verify(CK_BYTE* first, CK_ULONG firstLength, CK_BYTE* second, CK_ULONG secondLength)
{
    return perform("C_TOVR_pkcs7Verify(first " + runText(first, firstLength) + ", second " +
                       runText(second, secondLength) + ")",
                   [&](auto& module) { return module.C_TOVR_pkcs7Verify(first, firstLength, second, secondLength); });
}

CK_TOVR_FUNCTION_LIST makeList()
{
    CK_TOVR_FUNCTION_LIST list{};
    forbidAll(list.standard);
    list.standard.version = {2, 40};
    list.standard.C_Initialize = initialize;
    list.standard.C_Finalize = finalize;
    list.standard.C_GetSlotList = getSlotList;
    list.standard.C_GetSlotInfo = getSlotInfo;
    list.standard.C_GetTokenInfo = getTokenInfo;
    list.standard.C_InitToken = initToken;
    list.standard.C_OpenSession = openSession;
    list.standard.C_GetSessionInfo = getSessionInfo;
    list.standard.C_CloseSession = closeSession;
    list.standard.C_Login = login;
    list.standard.C_SetPIN = setPin;
    list.standard.C_FindObjectsInit = findObjectsInit;
    list.standard.C_FindObjects = findObjects;
    list.standard.C_FindObjectsFinal = findObjectsFinal;
    list.standard.C_GetAttributeValue = getAttributeValue;
    list.standard.C_DestroyObject = destroyObject;
    list.standard.C_GenerateKeyPair = generateKeyPair;
    list.C_TOVR_ImportCert = importCert;
    list.C_TOVR_ImportX509Certificate = importX509Certificate;
    list.C_TOVR_CreateCSR = createCsr;
    list.C_TOVR_pkcs7Sign = pkcs7Sign;
    list.C_TOVR_pkcs7Verify = pkcs7Verify;
    return list;
}

} // namespace

CK_RV deliverFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    static CK_TOVR_FUNCTION_LIST functions = makeList();
    ScriptedModule* const module = ScriptedModule::current();
    if (module == nullptr) {
        forbiddenCall("C_GetFunctionList");
        return CKR_GENERAL_ERROR;
    }
    module->transcript.add("C_GetFunctionList: " + codeName(module->functionListResult));
    *list = module->functionList != nullptr ? module->functionList : &functions.standard;
    return module->functionListResult;
}

} // namespace scripted
