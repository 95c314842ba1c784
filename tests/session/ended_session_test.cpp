// SPDX-License-Identifier: Apache-2.0
// Jobs after somebody else in the process has called C_Logout: the module shows them the public objects alone.
#include "tests/session/scene.h"

namespace {

using namespace scripted;

class EndedSession : public SessionTest {
protected:
    void SetUp() override
    {
        module.addSampleObjects();
        open();
    }

    /// Carries out a native that delivers bytes. It delivers none and tells that the login is gone.
    template <typename Native, typename... Arguments>
    void expectTold(Native native, Arguments... arguments)
    {
        EXPECT_EQ(fetch(native, loaded, session, arguments...), std::nullopt);
        EXPECT_THAT(told, testing::StartsWith(goneLogin));
        EXPECT_THAT(story, testing::EndsWith(loginAskedFor));
    }

    const std::string goneLogin = failure(CKR_USER_NOT_LOGGED_IN, "C_GetSessionInfo");
    const Bytes alice = {0x01};
};

TEST_F(EndedSession, IsToldInPlaceOfTheObjectsThatAreLeft)
{
    module.logout();
    expectTold(natives.listObjects);
    expectTold(natives.listCertificates);
    expectTold(natives.readCertificate, bytes("alice"), bytes(alice));
    expectTold(natives.readPublicKey, bytes("alice"), bytes(alice));
}

TEST_F(EndedSession, IsToldInPlaceOfAnObjectThatIsNotFound)
{
    module.logout();
    expectTold(natives.readCertificate, bytes("nobody"), bytes(alice));
    expectTold(natives.sign, bytes("data"), bytes(alice), bytes(alice), java.byteArrays({}), jlong{0});
    expectTold(natives.createRequest, bytes(alice), bytes(alice), bytes(""), jlong{0}, bytes(""), jlong{0}, bytes(""),
               jlong{0});
    EXPECT_EQ(told, goneLogin + "C_FindObjects object not found #2. Code: 0\n");
}

TEST_F(EndedSession, IsToldOfAnObjectThatGoesWhileItIsRead)
{
    module.C_GetAttributeValue = [this, original = module.C_GetAttributeValue](auto... arguments) {
        module.logout();
        (void)original(arguments...); // what it answers is of no interest
        return CKR_OBJECT_HANDLE_INVALID;
    };
    expectTold(natives.listObjects);
    expectTold(natives.readCertificate, bytes("alice"), bytes(alice));
}

TEST_F(EndedSession, KeepsAllObjectsFromBeingDestroyed)
{
    module.logout();
    call(natives.destroyObjects, loaded, session);
    EXPECT_EQ(story + told, loginAskedFor + goneLogin);
    EXPECT_EQ(module.objects.size(), 6U);
}

TEST_F(EndedSession, IsToldWhereItGoesWhileObjectsAreDestroyed)
{
    module.C_FindObjectsInit = [this, original = module.C_FindObjectsInit](auto... arguments) {
        module.logout();
        return original(arguments...);
    };
    call(natives.destroyObjects, loaded, session);
    EXPECT_EQ(told, goneLogin);
    EXPECT_EQ(module.objects.size(), 2U) << "the private keys";
}

TEST_F(EndedSession, IsNotReplacedByTheSecurityOfficers)
{
    module.logout();
    call(natives.login, loaded, session, jlong{CKU_SO}, bytes(module.token.soPin));
    expectTold(natives.listObjects);
}

TEST_F(EndedSession, IsNotAskedForBehindWhatCannotBeDoneWithout)
{
    EXPECT_TRUE(
        fetch(natives.sign, loaded, session, bytes("data"), bytes(alice), bytes(alice), java.byteArrays({}), jlong{0}));
    EXPECT_THAT(story, testing::Not(testing::HasSubstr("C_GetSessionInfo")));
}

TEST_F(EndedSession, IsToldByAModuleThatOpensSessionsForReadingToo)
{
    for (const CK_STATE state : {CKS_RO_PUBLIC_SESSION, CKS_RO_USER_FUNCTIONS}) {
        module.C_GetSessionInfo = [=](CK_SESSION_HANDLE, CK_SESSION_INFO* info) {
            *info = {7, state, CKF_SERIAL_SESSION, 0};
            return CKR_OK;
        };
        EXPECT_EQ(fetch(natives.listObjects, loaded, session).has_value(), state == CKS_RO_USER_FUNCTIONS);
    }
}

// A module may remember the objects of a card that is out.
TEST_F(EndedSession, TellsThatItsCardIsOut)
{
    module.C_GetSlotInfo = [original = module.C_GetSlotInfo](CK_SLOT_ID slot, CK_SLOT_INFO* info) {
        const CK_RV code = original(slot, info);
        info->flags &= ~CK_FLAGS{CKF_TOKEN_PRESENT};
        return code;
    };
    EXPECT_EQ(fetch(natives.listObjects, loaded, session), std::nullopt);
    EXPECT_EQ(told, failure(CKR_DEVICE_REMOVED, "C_GetSlotInfo"));
    call(natives.destroyObjects, loaded, session);
    EXPECT_EQ(story, loginAskedFor + cardAskedFor);
    EXPECT_EQ(module.objects.size(), 6U);
}

} // namespace
