// SPDX-License-Identifier: Apache-2.0
#include "bench/own_token.h"

#include "p11/P11Wrapper.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

namespace fs = std::filesystem;

using Attributes = std::vector<CK_ATTRIBUTE>;

void must(CK_RV rv)
{
    if (rv != CKR_OK)
        throw std::runtime_error("a token cannot be prepared: code " + std::to_string(rv));
}

/// The module, initialised.
class Loaded : public P11Wrapper {
public:
    explicit Loaded(const Inputs& inputs) : P11Wrapper(inputs.module.c_str())
    {
        if (!Initialize())
            throw std::runtime_error("no module: " + inputs.module);
    }
};

CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const Bytes& value)
{
    return {type, const_cast<unsigned char*>(value.data()), value.size()};
}

CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const std::string& text)
{
    return {type, const_cast<char*>(text.data()), text.size()};
}

template <typename T>
CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, T& value)
{
    return {type, &value, sizeof value};
}

/// Creates token objects in a session, all with the same label and ID.
class Creator {
public:
    Creator(CK_FUNCTION_LIST_PTR functions, CK_SESSION_HANDLE session, const Inputs& inputs)
        : functions_(functions), session_(session), inputs_(inputs)
    {
    }

    void create(CK_OBJECT_CLASS objectClass, bool isPrivate, const Attributes& further)
    {
        CK_BBOOL yes = CK_TRUE;
        CK_BBOOL privacy = isPrivate ? CK_TRUE : CK_FALSE;
        Attributes all{attribute(CKA_CLASS, objectClass), attribute(CKA_TOKEN, yes), attribute(CKA_PRIVATE, privacy),
                       attribute(CKA_LABEL, inputs_.label)};
        if (objectClass != CKO_DATA)
            all.push_back(attribute(CKA_ID, inputs_.id));
        all.insert(all.end(), further.begin(), further.end());
        CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
        must(functions_->C_CreateObject(session_, all.data(), all.size(), &object));
    }

private:
    CK_FUNCTION_LIST_PTR functions_;
    CK_SESSION_HANDLE session_;
    const Inputs& inputs_;
};

void createObjects(Creator creator, const Credentials& credentials)
{
    CK_CERTIFICATE_TYPE x509 = CKC_X_509;
    CK_KEY_TYPE rsa = CKK_RSA;
    CK_BBOOL yes = CK_TRUE;
    creator.create(CKO_CERTIFICATE, false,
                   {attribute(CKA_CERTIFICATE_TYPE, x509), attribute(CKA_SUBJECT, credentials.subject),
                    attribute(CKA_ISSUER, credentials.subject), attribute(CKA_SERIAL_NUMBER, credentials.serialNumber),
                    attribute(CKA_VALUE, credentials.certificate)});
    creator.create(CKO_PUBLIC_KEY, false,
                   {attribute(CKA_KEY_TYPE, rsa), attribute(CKA_VERIFY, yes),
                    attribute(CKA_MODULUS, credentials.modulus),
                    attribute(CKA_PUBLIC_EXPONENT, credentials.publicExponent)});
    creator.create(
        CKO_PRIVATE_KEY, true,
        {attribute(CKA_KEY_TYPE, rsa), attribute(CKA_SIGN, yes), attribute(CKA_SENSITIVE, yes),
         attribute(CKA_MODULUS, credentials.modulus), attribute(CKA_PUBLIC_EXPONENT, credentials.publicExponent),
         attribute(CKA_PRIVATE_EXPONENT, credentials.privateExponent), attribute(CKA_PRIME_1, credentials.primes[0]),
         attribute(CKA_PRIME_2, credentials.primes[1]), attribute(CKA_EXPONENT_1, credentials.exponents[0]),
         attribute(CKA_EXPONENT_2, credentials.exponents[1]), attribute(CKA_COEFFICIENT, credentials.coefficient)});
    for (int i = 0; i < 9; ++i)
        creator.create(CKO_DATA, false, {attribute(CKA_VALUE, credentials.subject)});
}

} // namespace

OwnToken::OwnToken(const char* module, std::string variable, const fs::path& setting)
    : variable_(std::move(variable)), setting_(setting.string()), credentials_(makeCredentials("benchmark"))
{
    select();
    inputs_.module = module;
    inputs_.userPin = {'1', '2', '3', '4', '5', '6', '7', '8'};
    inputs_.soPin = {'8', '7', '6', '5', '4', '3', '2', '1'};
    inputs_.label = "own";
    inputs_.id = {1, 2, 3, 4};
    inputs_.certificate = credentials_.certificate;
    inputs_.data.assign(1000, 'd');
    inputs_.newLabel = "new";
    inputs_.newId = {5, 6, 7, 8};
}

/// SoftHSM2 describes a slot by its ID, which it draws, and keeps a blank one with the ID 1 behind it. A name that
/// begins with that one's would mean the blank slot.
OwnToken OwnToken::onSoftHsm2(const fs::path& folder)
{
    const fs::path tokens = folder / "softhsm2";
    const fs::path configuration = folder / "softhsm2.conf";
    std::ofstream(configuration) << "directories.tokendir = " << tokens.string() << '\n';
    OwnToken token(SOFTHSM2_MODULE, "SOFTHSM2_CONF", configuration);
    std::string& reader = token.inputs_.reader;
    do {
        fs::remove_all(tokens);
        fs::create_directories(tokens);
        reader.clear();
        token.initialise();
        const Loaded module(token.inputs_);
        CK_ULONG count = 2;
        CK_SLOT_ID slots[2] = {};
        CK_SLOT_INFO info{};
        must(module.functionList->C_GetSlotList(CK_TRUE, slots, &count));
        must(module.functionList->C_GetSlotInfo(slots[0], &info));
        reader.assign(std::begin(info.slotDescription), std::end(info.slotDescription));
    } while (reader.rfind("SoftHSM slot ID 0x1", 0) == 0);
    return token;
}

OwnToken OwnToken::onSoftwareToken(const fs::path& folder)
{
    OwnToken token(SOFT_TOKEN_MODULE, "VORNIX_SOFTTOKEN_DIR", folder / "softtoken");
    token.inputs_.reader = "Vornix Soft Reader 00 00";
    token.initialise();
    token.restore();

    Inputs& in = token.inputs_;
    Loaded module(in);
    CK_SLOT_ID slot = 0;
    must(module.GetSlotIDByTerminalName(in.reader.c_str(), &slot));
    must(module.pkcs7Sign(slot, in.userPin.data(), in.userPin.size(), in.data.data(), in.data.size(), in.id.data(),
                          in.id.size(), in.id.data(), in.id.size(), {}, 0, in.message));
    return token;
}

void OwnToken::initialise()
{
    Loaded module(inputs_);
    CK_SLOT_ID slot = 0;
    must(module.GetSlotIDByTerminalName(inputs_.reader.c_str(), &slot));
    must(module.InitCard(slot, inputs_.soPin.data(), inputs_.soPin.size()));
}

void OwnToken::select() const
{
    if (setenv(variable_.c_str(), setting_.c_str(), 1) != 0)
        throw std::runtime_error("the environment is full");
}

void OwnToken::restore()
{
    select();
    Inputs& in = inputs_;
    Loaded module(in);
    CK_FUNCTION_LIST_PTR functions = module.functionList;
    CK_SLOT_ID slot = 0;
    CK_SESSION_HANDLE session = CK_INVALID_HANDLE;
    must(module.GetSlotIDByTerminalName(in.reader.c_str(), &slot));
    must(functions->C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session));
    must(functions->C_Login(session, CKU_SO, in.soPin.data(), in.soPin.size()));
    must(functions->C_InitPIN(session, in.userPin.data(), in.userPin.size()));
    must(functions->C_Logout(session));
    must(module.CleanCard(slot, in.userPin.data(), in.userPin.size())); // stays logged in
    createObjects({functions, session, in}, credentials_);
}
