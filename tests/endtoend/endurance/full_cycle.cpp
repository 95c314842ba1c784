// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/endurance/full_cycle.h"

#include <cstdlib>

namespace endtoend {

namespace {

const Bytes keyId = {0x01};
const Bytes everyContent = bytes("to be signed again and again");

/// Text as the library takes it.
struct Text {
    explicit Text(const std::string& text) : bytes(text.begin(), text.end()) {}
    explicit Text(Bytes value) : bytes(std::move(value)) {}
    unsigned char* data() { return bytes.data(); }
    unsigned long size() const { return bytes.size(); }

    Bytes bytes;
};

} // namespace

CK_RV onToken(const std::function<CK_RV(P11Wrapper&, CK_SLOT_ID)>& job)
{
    P11Wrapper token(SOFTTOKEN_FILE);
    CK_SLOT_ID slot = 0;
    if (!token.Initialize())
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    const CK_RV rv = token.GetSlotIDByTerminalName(readerName, &slot);
    return rv == CKR_OK ? job(token, slot) : rv;
}

CK_RV initialise()
{
    return onToken([](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(soPin);
        return token.InitCard(slot, pin.data(), pin.size());
    });
}

CK_RV generateKeyPair(const Bytes& id)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        Text own(id);
        return token.GenerateKeyPair(slot, pin.data(), pin.size(), 1024, keyLabel, own.data(), own.size());
    });
}

CK_RV generateGostKeyPair(const Bytes& id)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        Text own(id);
        return token.GenerateGostR3410_2001KeyPair(slot, pin.data(), pin.size(), keyLabel, own.data(), own.size());
    });
}

CK_RV request(Bytes& csr)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        Text id(keyId);
        Text subject(std::string("CN\0endurance\0", 13));
        return token.createCSR(slot, pin.data(), pin.size(), id.data(), id.size(), id.data(), id.size(), subject.data(),
                               1, nullptr, 0, nullptr, 0, csr);
    });
}

CK_RV import(Bytes certificate)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        Text id(keyId);
        return token.ImportX509Certificate(slot, pin.data(), pin.size(), keyLabel, id.data(), id.size(),
                                           certificate.data(), certificate.size());
    });
}

CK_RV list(std::vector<ObjectAttr>& objects)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        return token.ListObjects(slot, pin.data(), pin.size(), objects);
    });
}

CK_RV readCertificate(Bytes& certificate)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        Text id(keyId);
        return token.GetX509Certificate(slot, pin.data(), pin.size(), keyLabel, id.data(), id.size(), certificate);
    });
}

CK_RV sign(Bytes content, Bytes& message)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        Text id(keyId);
        return token.pkcs7Sign(slot, pin.data(), pin.size(), content.data(), content.size(), id.data(), id.size(),
                               id.data(), id.size(), {}, 0, message);
    });
}

CK_RV verify(Bytes message)
{
    P11Wrapper token(SOFTTOKEN_FILE);
    return token.Initialize() ? token.pkcs7Verify(message.data(), message.size(), nullptr, 0)
                              : CKR_CRYPTOKI_NOT_INITIALIZED;
}

CK_RV clean()
{
    return onToken([](P11Wrapper& token, CK_SLOT_ID slot) {
        Text pin(userPin);
        return token.CleanCard(slot, pin.data(), pin.size());
    });
}

CK_RV changePin(const std::string& from, const std::string& to)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text oldPin(from);
        Text newPin(to);
        return token.SetPin(slot, oldPin.data(), oldPin.size(), newPin.data(), newPin.size());
    });
}

CK_RV changePuk(const std::string& from, const std::string& to)
{
    return onToken([&](P11Wrapper& token, CK_SLOT_ID slot) {
        Text oldPuk(from);
        Text newPuk(to);
        return token.SetPuk(slot, oldPuk.data(), oldPuk.size(), newPuk.data(), newPuk.size());
    });
}

void prepareToken(const Folder& folder)
{
    setenv("VORNIX_SOFTTOKEN_DIR", (folder.path() / "token").c_str(), 1);
    ASSERT_EQ(initialise(), CKR_OK);
    ASSERT_EQ(generateKeyPair(), CKR_OK);
    Bytes csr;
    ASSERT_EQ(request(csr), CKR_OK);
    folder.write("csr.der", csr);
    ASSERT_TRUE(succeeded(openssl(folder, {"req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=CA",
                                           "-keyout", "ca.key", "-out", "ca.pem"})));
    ASSERT_TRUE(
        succeeded(openssl(folder, {"x509", "-req", "-inform", "DER", "-in", "csr.der", "-CA", "ca.pem", "-CAkey",
                                   "ca.key", "-CAcreateserial", "-outform", "DER", "-out", "certificate.der"})));
    ASSERT_EQ(import(folder.read("certificate.der")), CKR_OK);
}

CK_RV fullCycle()
{
    std::vector<ObjectAttr> objects;
    Bytes certificate;
    Bytes csr;
    Bytes message;
    const std::vector<std::function<CK_RV()>> jobs = {
        [&] { return list(objects); },   [&] { return readCertificate(certificate); },
        [&] { return request(csr); },    [&] { return sign(everyContent, message); },
        [&] { return verify(message); }, [&] { return changePin(userPin, userPin); }};
    for (const auto& job : jobs)
        if (const CK_RV rv = job(); rv != CKR_OK)
            return rv;
    return objects.size() == 3 && !certificate.empty() && !csr.empty() ? CKR_OK : CKR_GENERAL_ERROR;
}

} // namespace endtoend
