// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/softtoken/soft_token.h"

#include <dlfcn.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace endtoend {
namespace {

CK_BYTE_PTR start(const std::string& text)
{
    return reinterpret_cast<CK_BYTE_PTR>(const_cast<char*>(text.data()));
}

std::string joined(const std::vector<std::string>& strings)
{
    std::string text;
    for (const std::string& string : strings)
        text.append(string).push_back('\0');
    return text;
}

/// Calls a function that gives its output in two calls. Whatever the fill call writes must be as long as announced.
template <typename Call>
CK_RV fetch(Call call, Bytes& output)
{
    CK_ULONG announced = 0;
    if (const CK_RV rv = call(nullptr, &announced); rv != CKR_OK)
        return rv;
    Bytes buffer(announced);
    CK_ULONG written = announced;
    const CK_RV rv = call(buffer.data(), &written);
    EXPECT_EQ(written, announced);
    if (rv == CKR_OK)
        output = std::move(buffer);
    return rv;
}

} // namespace

Module::Module() : handle_(dlopen(SOFTTOKEN_FILE, RTLD_NOW))
{
    if (handle_ == nullptr)
        throw std::runtime_error(dlerror());
    const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(handle_, "C_GetFunctionList"));
    if (!getList || getList(reinterpret_cast<CK_FUNCTION_LIST**>(&list_)) != CKR_OK)
        throw std::runtime_error("no function list");
}

Module::~Module()
{
    (void)list_->standard.C_Finalize(nullptr); // it may have been finalised, or never initialised
    (void)dlclose(handle_);
}

Shortage::Shortage(int resource, rlim_t left) : resource_(resource), disposition_(std::signal(SIGXFSZ, SIG_IGN))
{
    EXPECT_EQ(getrlimit(resource_, &usual_), 0);
    const rlimit limit = {left, usual_.rlim_max};
    EXPECT_EQ(setrlimit(resource_, &limit), 0);
}

Shortage::~Shortage()
{
    EXPECT_EQ(setrlimit(resource_, &usual_), 0);
    (void)std::signal(SIGXFSZ, disposition_); // it was so before
}

StoreTest::StoreTest()
{
    setenv("VORNIX_SOFTTOKEN_DIR", (folder.path() / "token").c_str(), 1);
}

std::filesystem::path StoreTest::tokenFolder() const
{
    for (const auto& token : std::filesystem::directory_iterator(folder.path() / "token" / "tokens"))
        return token.path();
    return {};
}

BlankTokenTest::BlankTokenTest()
{
    EXPECT_CKR(standard->C_Initialize(nullptr), CKR_OK);
}

CK_SLOT_ID BlankTokenTest::onlySlot() const
{
    CK_SLOT_ID slot = 0;
    CK_ULONG count = 1;
    EXPECT_CKR(standard->C_GetSlotList(CK_TRUE, &slot, &count), CKR_OK);
    EXPECT_EQ(count, 1U);
    return slot;
}

CK_RV BlankTokenTest::initToken(const std::string& pin) const
{
    std::string label = "VORNIX Token";
    label.resize(32, ' ');
    return standard->C_InitToken(onlySlot(), start(pin), pin.size(), start(label));
}

CK_SESSION_HANDLE BlankTokenTest::openSession() const
{
    CK_SESSION_HANDLE session = 0;
    EXPECT_CKR(standard->C_OpenSession(onlySlot(), CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session),
               CKR_OK);
    return session;
}

CK_RV BlankTokenTest::login(CK_SESSION_HANDLE session, const std::string& pin) const
{
    return standard->C_Login(session, CKU_USER, start(pin), pin.size());
}

void TokenTest::SetUp()
{
    ASSERT_CKR(initToken(), CKR_OK);
    session = openSession();
    ASSERT_CKR(login(session), CKR_OK);
}

CK_RV TokenTest::generate(CK_MECHANISM_TYPE type, std::vector<CK_ATTRIBUTE> publicTemplate, const std::string& label,
                          const std::string& id)
{
    CK_MECHANISM mechanism = {type, nullptr, 0};
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_CLASS publicClass = CKO_PUBLIC_KEY;
    CK_OBJECT_CLASS privateClass = CKO_PRIVATE_KEY;
    const std::vector<CK_ATTRIBUTE> fixed = {{CKA_CLASS, &publicClass, sizeof publicClass},
                                             {CKA_TOKEN, &yes, sizeof yes},
                                             {CKA_ENCRYPT, &yes, sizeof yes},
                                             {CKA_VERIFY, &yes, sizeof yes},
                                             {CKA_WRAP, &yes, sizeof yes}};
    publicTemplate.insert(publicTemplate.begin(), fixed.begin(), fixed.end());
    std::vector<CK_ATTRIBUTE> privateTemplate = {{CKA_CLASS, &privateClass, sizeof privateClass},
                                                 {CKA_TOKEN, &yes, sizeof yes},
                                                 {CKA_PRIVATE, &yes, sizeof yes},
                                                 {CKA_SENSITIVE, &yes, sizeof yes},
                                                 {CKA_DECRYPT, &yes, sizeof yes},
                                                 {CKA_SIGN, &yes, sizeof yes},
                                                 {CKA_UNWRAP, &yes, sizeof yes}};
    for (auto* keyTemplate : {&publicTemplate, &privateTemplate}) {
        keyTemplate->push_back({CKA_LABEL, start(label), label.size()});
        keyTemplate->push_back({CKA_ID, start(id), id.size()});
    }
    CK_OBJECT_HANDLE publicKey = 0;
    CK_OBJECT_HANDLE privateKey = 0;
    return standard->C_GenerateKeyPair(session, &mechanism, publicTemplate.data(), publicTemplate.size(),
                                       privateTemplate.data(), privateTemplate.size(), &publicKey, &privateKey);
}

CK_RV TokenTest::generateRsa(const std::string& id, CK_ULONG bits)
{
    CK_BYTE exponent[] = {1, 0, 1};
    return generate(CKM_RSA_PKCS_KEY_PAIR_GEN,
                    {{CKA_MODULUS_BITS, &bits, sizeof bits}, {CKA_PUBLIC_EXPONENT, exponent, sizeof exponent}}, "rsa",
                    id);
}

CK_RV TokenTest::generateGost(const std::string& id, const std::string& label)
{
    return generate(CKM_GOSTR3410_KEY_PAIR_GEN, {{0, nullptr, 0}, {0, nullptr, 0}}, label, id);
}

CK_OBJECT_HANDLE TokenTest::create(std::vector<CK_ATTRIBUTE> attributes)
{
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    EXPECT_CKR(standard->C_CreateObject(session, attributes.data(), attributes.size(), &object), CKR_OK);
    return object;
}

void TokenTest::expectWholeOutputs(const std::function<CK_RV(CK_BYTE_PTR, CK_ULONG_PTR)>& call)
{
    CK_ULONG needed = 0;
    ASSERT_CKR(call(nullptr, &needed), CKR_OK);
    Bytes room(needed, 0xAA);
    CK_ULONG length = needed - 1;
    EXPECT_CKR(call(room.data(), &length), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, needed);
    EXPECT_EQ(room, Bytes(needed, 0xAA));
    EXPECT_CKR(call(room.data(), nullptr), CKR_ARGUMENTS_BAD);
}

std::vector<CK_OBJECT_HANDLE> TokenTest::find(CK_OBJECT_CLASS objectClass, const std::string& id) const
{
    CK_ATTRIBUTE query[] = {{CKA_CLASS, &objectClass, sizeof objectClass}, {CKA_ID, start(id), id.size()}};
    std::vector<CK_OBJECT_HANDLE> found(100);
    CK_ULONG count = 0;
    EXPECT_CKR(standard->C_FindObjectsInit(session, query, 2), CKR_OK);
    EXPECT_CKR(standard->C_FindObjects(session, found.data(), found.size(), &count), CKR_OK);
    EXPECT_CKR(standard->C_FindObjectsFinal(session), CKR_OK);
    found.resize(count);
    return found;
}

CK_OBJECT_HANDLE TokenTest::only(CK_OBJECT_CLASS objectClass, const std::string& id) const
{
    const auto found = find(objectClass, id);
    EXPECT_EQ(found.size(), 1U) << id;
    return found.empty() ? CK_INVALID_HANDLE : found.front();
}

std::size_t TokenTest::objectCount() const
{
    std::vector<CK_OBJECT_HANDLE> found(100);
    CK_ULONG count = 0;
    EXPECT_CKR(standard->C_FindObjectsInit(session, nullptr, 0), CKR_OK);
    EXPECT_CKR(standard->C_FindObjects(session, found.data(), found.size(), &count), CKR_OK);
    EXPECT_CKR(standard->C_FindObjectsFinal(session), CKR_OK);
    return count;
}

Bytes TokenTest::attribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const
{
    CK_ATTRIBUTE query = {type, nullptr, 0};
    EXPECT_CKR(standard->C_GetAttributeValue(session, object, &query, 1), CKR_OK);
    if (query.ulValueLen == CK_UNAVAILABLE_INFORMATION)
        return {};
    Bytes value(query.ulValueLen);
    query.pValue = value.data();
    EXPECT_CKR(standard->C_GetAttributeValue(session, object, &query, 1), CKR_OK);
    return value;
}

CK_RV TokenTest::createCsr(CK_OBJECT_HANDLE publicKey, CK_OBJECT_HANDLE privateKey, const RequestText& text, Bytes& csr)
{
    const std::string subject = joined(text.subject);
    const std::string attributes = joined(text.attributes);
    const std::string extensions = joined(text.extensions);
    const auto orNull = [](const std::string& strings) { return strings.empty() ? nullptr : start(strings); };
    return fetch(
        [&](CK_BYTE_PTR buffer, CK_ULONG_PTR length) {
            return module->C_TOVR_CreateCSR(session, publicKey, orNull(subject), text.subject.size() / 2, buffer,
                                            length, privateKey, orNull(attributes), text.attributes.size() / 2,
                                            orNull(extensions), text.extensions.size() / 3);
        },
        csr);
}

CK_RV TokenTest::createCsr(const std::string& id, const RequestText& text, Bytes& csr)
{
    return createCsr(only(CKO_PUBLIC_KEY, id), only(CKO_PRIVATE_KEY, id), text, csr);
}

CK_RV TokenTest::import(const std::string& label, const std::string& id, Bytes der)
{
    return module->C_TOVR_ImportX509Certificate(session, label.c_str(), start(id), id.size(), der.data(), der.size());
}

CK_RV TokenTest::sign(Bytes content, const std::string& certificateId, const std::string& keyId, CK_ULONG flags,
                      Bytes& message, std::vector<std::string> furtherIds)
{
    std::vector<CK_OBJECT_HANDLE> further;
    for (const std::string& id : furtherIds)
        further.push_back(only(CKO_CERTIFICATE, id));
    const CK_OBJECT_HANDLE certificate = only(CKO_CERTIFICATE, certificateId);
    const CK_OBJECT_HANDLE key = only(CKO_PRIVATE_KEY, keyId);
    return fetch(
        [&](CK_BYTE_PTR buffer, CK_ULONG_PTR length) {
            return module->C_TOVR_pkcs7Sign(session, content.data(), content.size(), certificate, buffer, length, key,
                                            further.empty() ? nullptr : further.data(), further.size(), flags);
        },
        message);
}

CK_RV TokenTest::verify(Bytes message, Bytes content) const
{
    return module->C_TOVR_pkcs7Verify(message.data(), message.size(), content.data(), content.size());
}

Bytes TokenTest::certified(const std::string& id, const std::function<Outcome()>& issue)
{
    if (!std::filesystem::exists(folder.path() / "ca.pem")) {
        EXPECT_TRUE(succeeded(openssl(folder, {"req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=Test CA",
                                               "-keyout", "ca.key", "-out", "ca.pem"})));
    }
    Bytes csr;
    EXPECT_CKR(createCsr(id, {}, csr), CKR_OK);
    folder.write("request.der", csr);
    EXPECT_TRUE(succeeded(issue()));
    const Bytes certificate = folder.read("issued.der");
    EXPECT_CKR(import("issued", id, certificate), CKR_OK);
    return certificate;
}

Bytes TokenTest::issue(const std::string& id, const std::string& extensions)
{
    EXPECT_CKR(generateRsa(id), CKR_OK);
    folder.write("extensions.cnf", bytes(extensions));
    return certified(id, [this] {
        return openssl(folder,
                       {"x509", "-req", "-inform", "DER", "-in", "request.der", "-CA", "ca.pem", "-CAkey", "ca.key",
                        "-CAcreateserial", "-extfile", "extensions.cnf", "-outform", "DER", "-out", "issued.der"});
    });
}

Bytes TokenTest::issueGost(const std::string& id, const GostProgram& issuer)
{
    EXPECT_CKR(generateGost(id), CKR_OK);
    return certified(id, [&] { return issuer.issue(folder); });
}

} // namespace endtoend
