// SPDX-License-Identifier: Apache-2.0
// Many threads, each through the module's whole life again and again.
#include "tests/endtoend/softtoken/soft_token.h"

#include <atomic>
#include <set>
#include <thread>

namespace endtoend {
namespace {

using Concurrency = TokenTest;

/// What a call may answer when another thread finalises the module under it.
const std::set<CK_RV> codesOfALostRace = {
    CKR_CRYPTOKI_NOT_INITIALIZED,  CKR_SESSION_HANDLE_INVALID, CKR_OBJECT_HANDLE_INVALID, CKR_KEY_HANDLE_INVALID,
    CKR_OPERATION_NOT_INITIALIZED, CKR_OPERATION_ACTIVE,       CKR_USER_NOT_LOGGED_IN,    CKR_USER_ALREADY_LOGGED_IN};

/// One life of the module as the library leads it, ending at the first code that is not 0.
class Life {
public:
    CK_RV run()
    {
        if (const CK_RV rv = standard_->C_Initialize(nullptr); rv != CKR_OK && rv != CKR_CRYPTOKI_ALREADY_INITIALIZED)
            return rv;
        if (const CK_RV rv =
                standard_->C_OpenSession(1, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session_))
            return rv;
        std::string pin = userPin;
        const CK_RV login =
            standard_->C_Login(session_, CKU_USER, reinterpret_cast<CK_BYTE_PTR>(pin.data()), pin.size());
        if (login != CKR_OK && login != CKR_USER_ALREADY_LOGGED_IN)
            return login;
        CK_OBJECT_HANDLE publicKey = 0;
        CK_OBJECT_HANDLE privateKey = 0;
        if (const CK_RV rv = find(CKO_PUBLIC_KEY, publicKey))
            return rv;
        if (const CK_RV rv = find(CKO_PRIVATE_KEY, privateKey))
            return rv;
        Bytes csr(2000);
        CK_ULONG length = csr.size();
        if (const CK_RV rv = module_->C_TOVR_CreateCSR(session_, publicKey, nullptr, 0, csr.data(), &length, privateKey,
                                                       nullptr, 0, nullptr, 0))
            return rv;
        return standard_->C_CloseSession(session_);
    }

private:
    CK_RV find(CK_OBJECT_CLASS objectClass, CK_OBJECT_HANDLE& object)
    {
        CK_ATTRIBUTE query = {CKA_CLASS, &objectClass, sizeof objectClass};
        CK_ULONG count = 0;
        if (const CK_RV rv = standard_->C_FindObjectsInit(session_, &query, 1))
            return rv;
        if (const CK_RV rv = standard_->C_FindObjects(session_, &object, 1, &count))
            return rv;
        const CK_RV rv = standard_->C_FindObjectsFinal(session_);
        return rv == CKR_OK && count == 0 ? CKR_USER_NOT_LOGGED_IN : rv;
    }

    const Module module_;
    CK_FUNCTION_LIST* const standard_ = module_.standard();
    CK_SESSION_HANDLE session_ = 0;
};

TEST_F(Concurrency, NeitherCrashesNorDamagesTheToken)
{
    ASSERT_CKR(generateRsa("rsa"), CKR_OK);
    ASSERT_CKR(standard->C_Finalize(nullptr), CKR_OK);

    std::atomic<int> completed{0};
    std::atomic<CK_RV> surprise{CKR_OK};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i) {
                const CK_RV rv = Life().run();
                if (rv == CKR_OK)
                    ++completed;
                else if (codesOfALostRace.count(rv) == 0)
                    surprise = rv;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_CKR(surprise.load(), CKR_OK);
    EXPECT_GT(completed.load(), 0);

    standard->C_Finalize(nullptr);
    ASSERT_CKR(standard->C_Initialize(nullptr), CKR_OK);
    session = openSession();
    ASSERT_CKR(login(session), CKR_OK);
    EXPECT_EQ(objectCount(), 2U);
    Bytes csr;
    EXPECT_CKR(createCsr("rsa", {}, csr), CKR_OK);
}

} // namespace
} // namespace endtoend
