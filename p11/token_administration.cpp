// SPDX-License-Identifier: Apache-2.0
// The token as a whole: initialising, cleaning, describing it and listing its objects.
#include "p11/P11Wrapper.h"

#include "p11/attribute_reader.h"
#include "p11/diagnostics.h"
#include "p11/fields.h"
#include "p11/jobs.h"
#include "p11/object_search.h"
#include "p11/outcome.h"
#include "p11/session.h"

#include <cstddef>
#include <string>
#include <vector>

namespace {

std::string className(CK_OBJECT_CLASS objectClass)
{
    switch (objectClass) {
    case CKO_DATA: return "data";
    case CKO_CERTIFICATE: return "certificate";
    case CKO_PUBLIC_KEY: return "public key";
    case CKO_PRIVATE_KEY: return "private key";
    case CKO_SECRET_KEY: return "secret key";
    case CKO_HW_FEATURE: return "hw feature";
    case CKO_DOMAIN_PARAMETERS: return "domain parameter";
    case CKO_MECHANISM: return "mechanism";
    default: return "unknown";
    }
}

std::string keyTypeName(CK_KEY_TYPE keyType)
{
    switch (keyType) {
    case CKK_RSA: return "RSA";
    case CKK_DSA: return "DSA";
    case CKK_EC: return "ECDSA";
    case CKK_DES:
    case CKK_DES2:
    case CKK_DES3: return "DES";
    case CKK_AES: return "AES";
    case CKK_GOSTR3410: return "GOSTR3410";
    default: return "Unknown";
    }
}

/// Reads what a listing tells of an object.
class ObjectReader {
public:
    [[nodiscard]] CK_RV read(const Session& session, CK_OBJECT_HANDLE object)
    {
        return attributes_.read(session, object);
    }

    /// The object that was read last, with success. A conversion, so that emplace_back builds the record in its place.
    explicit operator ObjectAttr() const
    {
        const auto length = [this](Position position) { return attributes_.length(position); };
        return {length(Class) == 0 ? std::string() : className(attributes_.number(Class)),
                std::string(reinterpret_cast<const char*>(attributes_.bytes(Label)), length(Label)),
                hexadecimal(attributes_.bytes(Id), length(Id)),
                length(KeyType) == 0 ? std::string() : keyTypeName(attributes_.number(KeyType))};
    }

private:
    enum Position { Class, Id, Label, KeyType };

    AttributeReader<Position, 4> attributes_{{CKA_CLASS, CKA_ID, CKA_LABEL, CKA_KEY_TYPE}};
};

} // namespace

Outcome jobs::initializeToken(CK_FUNCTION_LIST_PTR functions, CK_SLOT_ID slotId, ByteRun soPin,
                              const Diagnostics& lines)
{
    unsigned char label[] = "VORNIX Token                    ";
    static_assert(sizeof label == 32 + 1, "C_InitToken takes 32 blank-padded bytes");
    const CK_RV rv = functions->C_InitToken(slotId, soPin.first, soPin.count, label);
    if (rv != CKR_OK)
        diagnose(lines, "C_InitToken failed. Code: ", rv);
    return {rv, "C_InitToken"};
}

Outcome jobs::destroyObjects(const Session& session)
{
    std::vector<CK_OBJECT_HANDLE> objects;
    const Outcome search = findEvery(session, nullptr, 0, objects);
    if (search.endsOperation() || objects.empty())
        return search;

    CK_RV rv = CKR_OK;
    for (const CK_OBJECT_HANDLE object : objects) {
        rv = session.functions->C_DestroyObject(session.handle, object);
        if (rv != CKR_OK)
            diagnose(session.lines, "C_DestroyObject failed for ", object, ". Code: ", rv);
    }
    return {rv, "C_DestroyObject"};
}

Outcome jobs::listObjects(const Session& session, std::vector<ObjectAttr>& objects)
{
    std::vector<CK_OBJECT_HANDLE> handles;
    Outcome outcome = findEvery(session, nullptr, 0, handles);
    if (outcome.endsOperation())
        return outcome;

    outcome.code = toleratingMissingAttribute(outcome.code); // the result where there are no objects
    objects.reserve(objects.size() + handles.size());
    ObjectReader reader;
    for (const CK_OBJECT_HANDLE handle : handles) {
        outcome = {reader.read(session, handle), "C_GetAttributeValue"};
        if (outcome.code == CKR_OK)
            objects.emplace_back(reader);
    }
    return outcome;
}

CK_RV P11Wrapper::InitCard(CK_SLOT_ID slotId, unsigned char* soPin, CK_ULONG soPinLen)
{
    if (!isReady(*this))
        return CKR_GENERAL_ERROR;
    return jobs::initializeToken(functionList, slotId, {soPin, soPinLen}, standardOutput).code;
}

CK_RV P11Wrapper::CleanCard(CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, jobs::destroyObjects);
}

CK_RV P11Wrapper::GetTokenInfo(CK_SLOT_ID slotId, std::vector<unsigned char>& label,
                               std::vector<unsigned char>& manufacturer, std::vector<unsigned char>& model,
                               std::vector<unsigned char>& serialNumber, std::string& flags)
{
    for (auto* output : {&label, &manufacturer, &model, &serialNumber})
        output->clear();
    flags.clear();
    if (!isReady(*this))
        return CKR_GENERAL_ERROR;

    CK_TOKEN_INFO info{};
    const CK_RV rv = functionList->C_GetTokenInfo(slotId, &info);
    if (rv != CKR_OK)
        return rv;
    const auto copyTrimmed = [](const auto& field, std::vector<unsigned char>& output) {
        output.assign(field, field + trimmedLength(field, sizeof field));
    };
    copyTrimmed(info.label, label);
    copyTrimmed(info.manufacturerID, manufacturer);
    copyTrimmed(info.model, model);
    copyTrimmed(info.serialNumber, serialNumber);
    flags = hexadecimal(info.flags);
    return CKR_OK;
}

CK_RV P11Wrapper::ListObjects(CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen, std::vector<ObjectAttr>& objects)
{
    AuthenticatedSession session(*this, slotId);
    if (!session.isOpen())
        return toleratingMissingAttribute(session.code());
    return session.run(CKU_USER, pin, pinLen,
                       [&](const Session& opened) { return jobs::listObjects(opened, objects); });
}
