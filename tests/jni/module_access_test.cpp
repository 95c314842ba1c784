// setPin, setPuk and resetTerminal.
#include "tests/jni/native_method_test.h"

#include "tests/support/scripted_pcsc.h"

namespace {

using namespace stories;
using scripted::answering;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SetPin : public NativeMethodTest {
protected:
    jbyteArray oldPin = jni.bytes("oldPin", userPin);
    jbyteArray newPin = jni.bytes("newPin", {'2', '4', '6', '8'});
    const std::string converted = copied("oldPin", 8) + copied("newPin", 4) + modulePathAndTerminalNameRead();
};

TEST_F(SetPin, ChangesTheUserPin)
{
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, oldPin, newPin), 0);
    EXPECT_EQ(story, converted + loaded() + slotFound() + loggedIn() +
                         "C_SetPIN(session 41, old \"12345678\" [8], new \"2468\" [4]): CKR_OK\n" + sessionClosed() +
                         unloaded());
    EXPECT_EQ(module.token.userPin, "2468");
}

TEST_F(SetPin, WithAWrongOldPinChangesNothing)
{
    const jbyteArray wrong = jni.bytes("oldPin", {'1', '1', '1', '1', '1', '1', '1', '1'});
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, wrong, newPin), code(CKR_PIN_INCORRECT));
    EXPECT_EQ(story, converted + loaded() + slotFound() + sessionOpened() +
                         R"(C_Login(session 41, CKU_USER, PIN "11111111" [8]): CKR_PIN_INCORRECT
C_CloseSession(session 41): CKR_OK
| Login failed. Code: 160
)" + unloaded());
    EXPECT_EQ(module.token.userPin, "12345678");
}

TEST_F(SetPin, GoesOnUnderALoginThatHolds)
{
    module.C_Login = answering(CKR_USER_ALREADY_LOGGED_IN);
    module.C_SetPIN = answering(CKR_OK);
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, oldPin, newPin), 0);
    EXPECT_THAT(story, HasSubstr("C_SetPIN(session 41, old \"12345678\" [8], new \"2468\" [4])"));
    EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(SetPin, PassesAnEmptyNewPinAsNull)
{
    module.C_SetPIN = answering(CKR_PIN_LEN_RANGE);
    const jbyteArray none = jni.bytes("newPin", {});
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, oldPin, none), code(CKR_PIN_LEN_RANGE));
    EXPECT_THAT(story, HasSubstr("C_SetPIN(session 41, old \"12345678\" [8], new null [0])"));
    EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(SetPin, PassesAnEmptyOldPinAsNull)
{
    module.C_Login = answering(CKR_ARGUMENTS_BAD);
    const jbyteArray none = jni.bytes("oldPin", {});
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, none, newPin), code(CKR_ARGUMENTS_BAD));
    EXPECT_THAT(story, HasSubstr("C_Login(session 41, CKU_USER, PIN null [0])"));
}

TEST_F(SetPin, PassesAnyBytesOn)
{
    module.C_Login = answering(CKR_OK);
    module.C_SetPIN = answering(CKR_OK);
    const jbyteArray anyOld = jni.bytes("oldPin", {0x00, 0xff, 0x80});
    const jbyteArray anyNew = jni.bytes("newPin", {0x0a, 0x00});
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, anyOld, anyNew), 0);
    EXPECT_THAT(story, HasSubstr("C_Login(session 41, CKU_USER, PIN 00ff80 [3])"));
    EXPECT_THAT(story, HasSubstr("C_SetPIN(session 41, old 00ff80 [3], new 0a00 [2])"));
}

TEST_F(SetPin, ReturnsTheModulesRefusalWithoutALine)
{
    module.C_SetPIN = answering(CKR_PIN_INVALID);
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, oldPin, newPin), code(CKR_PIN_INVALID));
    EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(SetPin, ReturnsAllSixtyFourBitsOfACode)
{
    module.C_SetPIN = answering(0x8000000100000002);
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, oldPin, newPin), code(0x8000000100000002));
}

class SetPuk : public NativeMethodTest {
protected:
    jbyteArray oldPuk = jni.bytes("oldPuk", scripted::bytesOf(module.token.soPin));
    jbyteArray newPuk = jni.bytes("newPuk", {'1', '3', '5', '7'});
};

TEST_F(SetPuk, ChangesTheSecurityOfficersPin)
{
    EXPECT_EQ(call(natives::setPuk, terminalName, modulePath, oldPuk, newPuk), 0);
    EXPECT_EQ(story, copied("oldPuk", 8) + copied("newPuk", 4) + modulePathAndTerminalNameRead() + loaded() +
                         slotFound() + sessionOpened() +
                         R"(C_Login(session 41, CKU_SO, PIN "87654321" [8]): CKR_OK
C_SetPIN(session 41, old "87654321" [8], new "1357" [4]): CKR_OK
C_CloseSession(session 41): CKR_OK
)" + unloaded());
    EXPECT_EQ(module.token.soPin, "1357");
    EXPECT_EQ(module.token.userPin, "12345678");
}

TEST_F(SetPuk, WithTheUserPinFailsAtLogin)
{
    EXPECT_EQ(call(natives::setPuk, terminalName, modulePath, pin, newPuk), code(CKR_PIN_INCORRECT));
    EXPECT_THAT(printed(), ElementsAre("Login failed. Code: 160"));
    EXPECT_THAT(story, Not(HasSubstr("C_SetPIN")));
    EXPECT_EQ(module.token.soPin, "87654321");
}

class ResetTerminal : public NativeMethodTest {
protected:
    scripted::ScriptedPcsc service{transcript};
    jstring readerName = jni.string("readerName", "Reader \xc3\xa9 0");
};

TEST_F(ResetTerminal, PowersTheCardDownWithoutAnyModule)
{
    call(natives::resetTerminal, readerName);
    EXPECT_EQ(story, read("readerName") + "SCardEstablishContext(scope 0, null, null) -> context 81: 0\n"
                                          "SCardConnect(context 81, reader \"Reader \xc3\xa9 0\", share mode 2, "
                                          "protocols 3) -> card 91: 0\n"
                                          "SCardDisconnect(card 91, disposition 2): 0\n"
                                          "SCardReleaseContext(context 81): 0\n");
}

TEST_F(ResetTerminal, ReturnsNormallyWithoutAService)
{
    service.establishResult = SCARD_E_NO_SERVICE;
    call(natives::resetTerminal, readerName);
    EXPECT_EQ(story, read("readerName") + "SCardEstablishContext(scope 0, null, null): 2148532253\n"
                                          "| Failed to establish context: 2148532253\n");
}

TEST_F(ResetTerminal, ReturnsNormallyWithoutACard)
{
    service.connectResult = SCARD_E_NO_SMARTCARD;
    service.disconnectResult = SCARD_E_INVALID_HANDLE;
    call(natives::resetTerminal, readerName);
    EXPECT_THAT(printed(), ElementsAre("Failed to diconnect reader Reader \xc3\xa9 0. Error code: 2148532227"));
    EXPECT_THAT(story, HasSubstr("SCardDisconnect(card 0, disposition 2)"));
    EXPECT_THAT(story, HasSubstr("SCardReleaseContext(context 81): 0"));
}

} // namespace
