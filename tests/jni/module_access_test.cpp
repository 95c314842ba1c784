// SPDX-License-Identifier: Apache-2.0
// setPin, setPuk and resetTerminal.
#include "tests/jni/native_method_test.h"

#include "tests/support/scripted_pcsc.h"

namespace {

using namespace stories;
using scripted::answering;
using testing::HasSubstr;
using testing::IsEmpty;

class SetPin : public NativeMethodTest {
protected:
    jbyteArray oldPin = jni.bytes("oldPin", userPin);
    jbyteArray newPin = jni.bytes("newPin", {'2', '4', '6', '8'});
};

TEST_F(SetPin, ChangesTheUserPin)
{
    EXPECT_EQ(call(natives::setPin, terminalName, modulePath, oldPin, newPin), 0);
    EXPECT_EQ(job(), inSession("C_SetPIN(session 41, old \"12345678\" [8], new \"2468\" [4]): CKR_OK\n"));
    EXPECT_EQ(module.token.userPin, "2468");
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

class SetPuk : public NativeMethodTest {
protected:
    jbyteArray oldPuk = jni.bytes("oldPuk", scripted::bytesOf(module.token.soPin));
    jbyteArray newPuk = jni.bytes("newPuk", {'1', '3', '5', '7'});
};

TEST_F(SetPuk, ChangesTheSecurityOfficersPin)
{
    EXPECT_EQ(call(natives::setPuk, terminalName, modulePath, oldPuk, newPuk), 0);
    EXPECT_EQ(job(), opened + login("CKU_SO, PIN \"87654321\" [8]") +
                         "C_SetPIN(session 41, old \"87654321\" [8], new \"1357\" [4]): CKR_OK\n" + closed);
    EXPECT_EQ(module.token.soPin, "1357");
    EXPECT_EQ(module.token.userPin, "12345678");
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

} // namespace
