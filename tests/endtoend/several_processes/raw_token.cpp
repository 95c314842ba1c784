// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/several_processes/raw_token.h"

#include <stdexcept>

namespace endtoend {
namespace {

CK_BYTE_PTR start(std::string& text)
{
    return reinterpret_cast<CK_BYTE_PTR>(text.data());
}

} // namespace

void must(CK_RV rv, const std::string& what)
{
    if (rv != CKR_OK)
        throw std::runtime_error(what + ": " + scripted::codeName(rv));
}

RawToken::RawToken()
{
    start();
}

void RawToken::start()
{
    must(module_.standard()->C_Initialize(nullptr), "C_Initialize");
    must(module_.standard()->C_OpenSession(1, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session_),
         "C_OpenSession");
}

void RawToken::startAgain()
{
    must(module_.standard()->C_Finalize(nullptr), "C_Finalize");
    start();
}

CK_RV RawToken::login(std::string pin) const
{
    return module_.standard()->C_Login(session_, CKU_USER, endtoend::start(pin), pin.size());
}

CK_RV RawToken::changePin(std::string from, std::string to) const
{
    return module_.standard()->C_SetPIN(session_, endtoend::start(from), from.size(), endtoend::start(to), to.size());
}

void RawToken::logout() const
{
    must(module_.standard()->C_Logout(session_), "C_Logout");
}

CK_RV RawToken::create(const std::string& label) const
{
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_BBOOL yes = CK_TRUE;
    std::string name = label;
    Bytes content = valueFor(label);
    CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                                 {CKA_TOKEN, &yes, sizeof yes},
                                 {CKA_PRIVATE, &yes, sizeof yes},
                                 {CKA_LABEL, endtoend::start(name), name.size()},
                                 {CKA_VALUE, content.data(), content.size()}};
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    return module_.standard()->C_CreateObject(session_, attributes, std::size(attributes), &object);
}

CK_RV RawToken::relabel(CK_OBJECT_HANDLE object, std::string label) const
{
    CK_ATTRIBUTE attribute = {CKA_LABEL, endtoend::start(label), label.size()};
    return module_.standard()->C_SetAttributeValue(session_, object, &attribute, 1);
}

CK_RV RawToken::destroy(CK_OBJECT_HANDLE object) const
{
    return module_.standard()->C_DestroyObject(session_, object);
}

std::map<std::string, CK_OBJECT_HANDLE> RawToken::objects() const
{
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_ATTRIBUTE query = {CKA_CLASS, &objectClass, sizeof objectClass};
    std::map<std::string, CK_OBJECT_HANDLE> objects;
    must(module_.standard()->C_FindObjectsInit(session_, &query, 1), "C_FindObjectsInit");
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    for (CK_ULONG found = 1; found > 0;) {
        must(module_.standard()->C_FindObjects(session_, &object, 1, &found), "C_FindObjects");
        if (found == 0)
            break;
        char label[64] = {};
        CK_ATTRIBUTE read = {CKA_LABEL, label, sizeof label};
        const CK_RV rv = module_.standard()->C_GetAttributeValue(session_, object, &read, 1);
        if (rv == CKR_OBJECT_HANDLE_INVALID)
            continue; // another process has destroyed it meanwhile
        must(rv, "C_GetAttributeValue");
        if (!objects.emplace(std::string(label, read.ulValueLen), object).second)
            throw std::runtime_error("twice: " + std::string(label, read.ulValueLen));
    }
    must(module_.standard()->C_FindObjectsFinal(session_), "C_FindObjectsFinal");
    return objects;
}

Bytes RawToken::value(CK_OBJECT_HANDLE object) const
{
    Bytes value(1 << 16U);
    CK_ATTRIBUTE read = {CKA_VALUE, value.data(), value.size()};
    must(module_.standard()->C_GetAttributeValue(session_, object, &read, 1), "C_GetAttributeValue of a value");
    value.resize(read.ulValueLen);
    return value;
}

Bytes RawToken::valueFor(const std::string& label)
{
    Bytes value;
    while (value.size() < 5000)
        value.insert(value.end(), label.begin(), label.end());
    return value;
}

} // namespace endtoend
