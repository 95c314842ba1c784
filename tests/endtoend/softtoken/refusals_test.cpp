// SPDX-License-Identifier: Apache-2.0
// What a refusal costs. Reading an attribute that an object lacks is refused, and a listing of a token does so for
// almost every object: an exception thrown for each would cost more than the reading.
#include "tests/endtoend/softtoken/soft_token.h"

#include <dlfcn.h>

#include <atomic>

namespace {

std::atomic<int> thrown{0};

} // namespace

/// In the way of everybody in the process who throws. Named in the object file only: compilers declare this function
/// each with types of its own.
[[noreturn]] void countAndThrow(void* exception, void* type, void (*destroy)(void*)) __asm__("__cxa_throw");

void countAndThrow(void* exception, void* type, void (*destroy)(void*))
{
    using Throw = void (*)(void*, void*, void (*)(void*));
    static const auto throwIt = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
    ++thrown;
    throwIt(exception, type, destroy);
    __builtin_unreachable();
}

namespace endtoend {
namespace {

class Refusals : public TokenTest {
protected:
    template <typename Call>
    static int thrownBy(CK_RV expected, Call call)
    {
        const int before = thrown;
        EXPECT_CKR(call(), expected);
        return thrown - before;
    }
};

TEST_F(Refusals, BySoftHsmAreNotThrown)
{
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_BYTE value[] = {1};
    const CK_OBJECT_HANDLE object =
        create({{CKA_CLASS, &objectClass, sizeof objectClass}, {CKA_VALUE, value, sizeof value}});
    CK_ATTRIBUTE modulus = {CKA_MODULUS, nullptr, 0};
    EXPECT_EQ(thrownBy(CKR_ATTRIBUTE_TYPE_INVALID,
                       [&] { return standard->C_GetAttributeValue(session, object, &modulus, 1); }),
              0);
    EXPECT_EQ(thrownBy(CKR_USER_ALREADY_LOGGED_IN, [&] { return login(session); }), 0);
    EXPECT_EQ(thrownBy(CKR_SESSION_HANDLE_INVALID, [&] { return standard->C_CloseSession(session + 77); }), 0);
    EXPECT_EQ(thrownBy(CKR_ARGUMENTS_BAD, [&] { return module->C_TOVR_ImportCert(session, nullptr, 1, nullptr, 0); }),
              1)
        << "this test sees what is thrown";
}

} // namespace
} // namespace endtoend
