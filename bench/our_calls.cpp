// SPDX-License-Identifier: Apache-2.0
// The calls by the library.
#include "bench/calls.h"
#include "p11/P11Wrapper.h"

namespace {

template <typename Job>
CK_RV withModule(const Inputs& in, Job job)
{
    P11Wrapper token(in.module.c_str());
    return token.Initialize() ? job(token) : CKR_GENERAL_ERROR;
}

template <typename Job>
CK_RV onToken(const Inputs& in, Job job)
{
    return withModule(in, [&](P11Wrapper& token) {
        CK_SLOT_ID slot = 0;
        const CK_RV rv = token.GetSlotIDByTerminalName(in.reader.c_str(), &slot);
        return rv == CKR_OK ? job(token, slot) : rv;
    });
}

CK_RV setPin(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.SetPin(slot, in.userPin.data(), in.userPin.size(), in.userPin.data(), in.userPin.size());
    });
}

CK_RV setPuk(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.SetPuk(slot, in.soPin.data(), in.soPin.size(), in.soPin.data(), in.soPin.size());
    });
}

CK_RV initCard(Inputs& in)
{
    return onToken(
        in, [&](P11Wrapper& token, CK_SLOT_ID slot) { return token.InitCard(slot, in.soPin.data(), in.soPin.size()); });
}

CK_RV cleanCard(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.CleanCard(slot, in.userPin.data(), in.userPin.size());
    });
}

CK_RV getTokenInfo(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        Bytes label;
        Bytes manufacturer;
        Bytes model;
        Bytes serialNumber;
        std::string flags;
        return token.GetTokenInfo(slot, label, manufacturer, model, serialNumber, flags);
    });
}

CK_RV listObjects(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        std::vector<ObjectAttr> objects;
        return token.ListObjects(slot, in.userPin.data(), in.userPin.size(), objects);
    });
}

CK_RV getX509Certificate(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        Bytes certificate;
        return token.GetX509Certificate(slot, in.userPin.data(), in.userPin.size(), in.label.c_str(), in.id.data(),
                                        in.id.size(), certificate);
    });
}

CK_RV getPublicKey(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        Bytes modulus;
        Bytes exponent;
        return token.GetPublicKey(slot, in.userPin.data(), in.userPin.size(), in.label.c_str(), in.id.data(),
                                  in.id.size(), modulus, exponent);
    });
}

CK_RV importX509Certificate(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.ImportX509Certificate(slot, in.userPin.data(), in.userPin.size(), in.newLabel.c_str(),
                                           in.newId.data(), in.newId.size(), in.certificate.data(),
                                           in.certificate.size());
    });
}

CK_RV importCert(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.ImportCert(slot, in.certificate.data(), in.certificate.size(), in.newId.data(), in.newId.size(),
                                in.userPin.data(), in.userPin.size());
    });
}

CK_RV generateKeyPair(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.GenerateKeyPair(slot, in.userPin.data(), in.userPin.size(), in.modulusBits, in.newLabel.c_str(),
                                     in.newId.data(), in.newId.size());
    });
}

CK_RV generateGostKeyPair(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        return token.GenerateGostR3410_2001KeyPair(slot, in.userPin.data(), in.userPin.size(), in.newLabel.c_str(),
                                                   in.newId.data(), in.newId.size());
    });
}

CK_RV pkcs7Sign(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        Bytes message;
        return token.pkcs7Sign(slot, in.userPin.data(), in.userPin.size(), in.data.data(), in.data.size(), in.id.data(),
                               in.id.size(), in.id.data(), in.id.size(), {}, 0, message);
    });
}

CK_RV pkcs7Verify(Inputs& in)
{
    return withModule(
        in, [&](P11Wrapper& token) { return token.pkcs7Verify(in.message.data(), in.message.size(), nullptr, 0); });
}

CK_RV createCsr(Inputs& in)
{
    return onToken(in, [&](P11Wrapper& token, CK_SLOT_ID slot) {
        Bytes request;
        return token.createCSR(slot, in.userPin.data(), in.userPin.size(), in.id.data(), in.id.size(), in.id.data(),
                               in.id.size(), in.subject.data(), 1, in.attributes.data(), 1, in.extensions.data(), 1,
                               request);
    });
}

} // namespace

std::vector<Operation> operations()
{
    std::vector<Operation> all{
        {"SetPin", setPin},
        {"SetPuk", setPuk},
        {"InitCard", initCard},
        {"CleanCard", cleanCard},
        {"GetTokenInfo", getTokenInfo},
        {"ListObjects", listObjects},
        {"GetX509Certificate", getX509Certificate},
        {"GetPublicKey", getPublicKey},
        {"ImportX509Certificate", importX509Certificate},
        {"ImportCert", importCert},
        {"GenerateKeyPair", generateKeyPair},
        {"GenerateGostR3410_2001KeyPair", generateGostKeyPair},
        {"pkcs7Sign", pkcs7Sign},
        {"pkcs7Verify", pkcs7Verify},
        {"createCSR", createCsr},
    };
    const std::map<std::string, Call> bare = bareCalls();
    for (Operation& operation : all)
        operation.bare = bare.at(operation.name);
    return all;
}
