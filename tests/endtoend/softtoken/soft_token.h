// SPDX-License-Identifier: Apache-2.0
// The software token in a folder of its own, called through its function list.
#pragma once

#include "include/tovr_pkcs11.h"
#include "tests/endtoend/gost_program.h"
#include "tests/support/ckr.h"

#include <sys/resource.h>

#include <functional>

namespace endtoend {

/// Loads the module. Its destruction finalises the module, in case it is initialised, and unloads it.
class Module {
public:
    Module();
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    CK_TOVR_FUNCTION_LIST* operator->() const { return list_; }
    CK_FUNCTION_LIST* standard() const { return &list_->standard; }

private:
    void* handle_;
    CK_TOVR_FUNCTION_LIST* list_ = nullptr;
};

/// A resource of the process (RLIMIT_FSIZE, RLIMIT_NOFILE) kept short in this scope. Writing too long a file then fails
/// instead of killing.
class Shortage {
public:
    Shortage(int resource, rlim_t left);
    ~Shortage();
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;

private:
    const int resource_;
    rlimit usual_ = {};
    void (*const disposition_)(int);
};

/// A test's folder, in which the token lives under "token".
class StoreTest : public testing::Test {
protected:
    StoreTest();

    /// Of the first token in the store.
    std::filesystem::path tokenFolder() const;

    Folder folder;
};

/// The module loaded and initialised on a blank token.
class BlankTokenTest : public StoreTest {
protected:
    BlankTokenTest();

    CK_SLOT_ID onlySlot() const;
    CK_RV initToken(const std::string& pin = soPin) const;
    CK_SESSION_HANDLE openSession() const;
    CK_RV login(CK_SESSION_HANDLE session, const std::string& pin = userPin) const;

    Module module;
    CK_FUNCTION_LIST* const standard = module.standard();
};

/// An initialised token and a session with the user logged in.
class TokenTest : public BlankTokenTest {
protected:
    void SetUp() override;

    /// With the templates that the library sends. Short keys are soon found.
    CK_RV generateRsa(const std::string& id, CK_ULONG bits = 1024);
    CK_RV generateGost(const std::string& id, const std::string& label = "gost");

    /// For this session only.
    CK_OBJECT_HANDLE create(std::vector<CK_ATTRIBUTE> attributes);

    /// Expects a two-call function to write nothing into a buffer that is too short, and to say how long it must be.
    static void expectWholeOutputs(const std::function<CK_RV(CK_BYTE_PTR, CK_ULONG_PTR)>& call);

    std::vector<CK_OBJECT_HANDLE> find(CK_OBJECT_CLASS objectClass, const std::string& id) const;
    CK_OBJECT_HANDLE only(CK_OBJECT_CLASS objectClass, const std::string& id) const;
    std::size_t objectCount() const;
    Bytes attribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;

    /// Subject, attributes and extensions as runs of strings, for the key pair with this ID.
    struct RequestText {
        std::vector<std::string> subject = {"CN", "Ivan Token", "O", "Vornix"};
        std::vector<std::string> attributes = {};
        std::vector<std::string> extensions = {};
    };
    CK_RV createCsr(CK_OBJECT_HANDLE publicKey, CK_OBJECT_HANDLE privateKey, const RequestText& text, Bytes& csr);
    CK_RV createCsr(const std::string& id, const RequestText& text, Bytes& csr);

    CK_RV import(const std::string& label, const std::string& id, Bytes der);
    CK_RV sign(Bytes content, const std::string& certificateId, const std::string& keyId, CK_ULONG flags,
               Bytes& message, std::vector<std::string> furtherIds = {});
    CK_RV verify(Bytes message, Bytes content = {}) const;

    /// A key pair on the token and its certificate, issued by "ca.pem" in the folder; returns the certificate.
    Bytes issue(const std::string& id, const std::string& extensions = "");
    Bytes issueGost(const std::string& id, const GostProgram& issuer);

    CK_SESSION_HANDLE session = 0;

private:
    Bytes certified(const std::string& id, const std::function<Outcome()>& issue);
    CK_RV generate(CK_MECHANISM_TYPE type, std::vector<CK_ATTRIBUTE> publicTemplate, const std::string& label,
                   const std::string& id);
};

} // namespace endtoend
