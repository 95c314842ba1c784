// initCard, cleanCard and getTokenInfo; listObjects has object_listing_test.cpp.
#include "tests/jni/native_method_test.h"

namespace {

using namespace stories;
using scripted::answering;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class InitCard : public NativeMethodTest {
protected:
    jbyteArray soPin = jni.bytes("soPin", scripted::bytesOf(module.token.soPin));
};

TEST_F(InitCard, InitialisesTheTokenUnderTheFixedLabel)
{
    EXPECT_EQ(call(natives::initCard, terminalName, modulePath, soPin), 0);
    EXPECT_EQ(story, copied("soPin", 8) + modulePathAndTerminalNameRead() + loaded() + slotFound() +
                         "C_InitToken(slot 7, PIN \"87654321\" [8], label \"VORNIX Token                    \" [32]): "
                         "CKR_OK\n" +
                         unloaded());
}

TEST_F(InitCard, PassesAnEmptyPinAsNull)
{
    module.C_InitToken = answering(CKR_OK);
    EXPECT_EQ(call(natives::initCard, terminalName, modulePath, jni.bytes("soPin", {})), 0);
    EXPECT_THAT(story, HasSubstr("C_InitToken(slot 7, PIN null [0], label "));
}

TEST_F(InitCard, WritesOneLineOnFailure)
{
    EXPECT_EQ(call(natives::initCard, terminalName, modulePath, pin), code(CKR_PIN_INCORRECT));
    EXPECT_THAT(printed(), ElementsAre("C_InitToken failed. Code: 160"));
}

class CleanCard : public NativeMethodTest {};

TEST_F(CleanCard, DestroysAllObjects)
{
    module.add(scripted::dataObject("note"));
    module.add(scripted::certificate("alice", {0x01}, {0x30}));
    EXPECT_EQ(call(natives::cleanCard, terminalName, modulePath, pin), 0);
    EXPECT_EQ(story, copied("pin", 8) + modulePathAndTerminalNameRead() + loaded() + slotFound() + loggedIn() +
                         R"(C_FindObjectsInit(session 41, null [0]): CKR_OK
C_FindObjects(session 41, room for 1) -> {101}: CKR_OK
C_FindObjects(session 41, room for 1) -> {102}: CKR_OK
C_FindObjects(session 41, room for 1) -> {}: CKR_OK
C_FindObjectsFinal(session 41): CKR_OK
C_DestroyObject(session 41, object 101): CKR_OK
C_DestroyObject(session 41, object 102): CKR_OK
)" + sessionClosed() + unloaded());
    EXPECT_THAT(module.objects, IsEmpty());
}

TEST_F(CleanCard, WithAWrongPinDestroysNothing)
{
    module.add(scripted::dataObject("note"));
    EXPECT_EQ(call(natives::cleanCard, terminalName, modulePath, jni.bytes("pin", {'0'})), code(CKR_PIN_INCORRECT));
    EXPECT_THAT(printed(), ElementsAre("Login failed. Code: 160"));
    EXPECT_EQ(module.objects.size(), 1u);
}

TEST_F(CleanCard, ReturnsTheLastRefusalOnly)
{
    module.addSampleObjects();
    scripted::failNth(module.C_DestroyObject, 6, CKR_DEVICE_ERROR);
    EXPECT_EQ(call(natives::cleanCard, terminalName, modulePath, pin), code(CKR_DEVICE_ERROR));
    EXPECT_THAT(printed(), ElementsAre("C_DestroyObject failed for 106. Code: 48"));
    EXPECT_EQ(module.objects.size(), 1u);
}

class GetTokenInfo : public NativeMethodTest {
protected:
    jlong getTokenInfo()
    {
        return call(natives::getTokenInfo, terminalName, modulePath, label, manufacturer, model, serialNumber, flags);
    }

    static std::string stored(const std::string& array, const std::string& text)
    {
        return "GetArrayLength(" + array + ")\nNewStringUTF(\"" + text + "\")\nSetObjectArrayElement(" + array +
               ", 0, \"" + text + "\")\n";
    }

    jobjectArray label = jni.outputArray("label");
    jobjectArray manufacturer = jni.outputArray("manufacturer");
    jobjectArray model = jni.outputArray("model");
    jobjectArray serialNumber = jni.outputArray("serialNumber");
    jobjectArray flags = jni.outputArray("flags");
};

TEST_F(GetTokenInfo, StoresTheFiveTextsInOrder)
{
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_EQ(story, modulePathAndTerminalNameRead() + loaded() + slotFound() + "C_GetTokenInfo(slot 7): CKR_OK\n" +
                         stored("label", "Scripted Token") + stored("manufacturer", "Scripted Works") +
                         stored("model", "Scripted Model") + stored("serialNumber", "0123456789abcdef") +
                         stored("flags", "000000000000040d") + unloaded());
}

TEST_F(GetTokenInfo, SkipsNullArrays)
{
    label = nullptr;
    serialNumber = nullptr;
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(story, HasSubstr("C_GetTokenInfo(slot 7): CKR_OK\n" + stored("manufacturer", "Scripted Works") +
                                 stored("model", "Scripted Model") + stored("flags", "000000000000040d") + unloaded()));
}

TEST_F(GetTokenInfo, AcceptsNullForAllArrays)
{
    label = manufacturer = model = serialNumber = flags = nullptr;
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(story, HasSubstr("C_GetTokenInfo(slot 7): CKR_OK\n" + unloaded()));
}

TEST_F(GetTokenInfo, SkipsEmptyArrays)
{
    manufacturer = jni.outputArray("manufacturer", 0);
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(story, HasSubstr(stored("label", "Scripted Token") + "GetArrayLength(manufacturer)\n" +
                                 stored("model", "Scripted Model")));
    EXPECT_THAT(jni.elements(flags), ElementsAre("\"000000000000040d\""));
}

TEST_F(GetTokenInfo, WritesTheFirstElementAlone)
{
    label = jni.strings("label", {"old", "kept", "kept too"});
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(label), ElementsAre("\"Scripted Token\"", "\"kept\"", "\"kept too\""));
}

TEST_F(GetTokenInfo, EndsATextAtItsFirstNul)
{
    module.token.label = std::string("Tok\0en", 6) + std::string(26, '\0');
    module.token.model = std::string("\0Model", 6);
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(label), ElementsAre("\"Tok\""));
    EXPECT_THAT(jni.elements(model), ElementsAre("\"\""));
    EXPECT_THAT(jni.elements(serialNumber), ElementsAre("\"0123456789abcdef\""));
}

TEST_F(GetTokenInfo, KeepsAFieldOfFullWidthWhole)
{
    module.token.label = "abcdefghijklmnopqrstuvwxyz012345";
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(label), ElementsAre("\"abcdefghijklmnopqrstuvwxyz012345\""));
}

TEST_F(GetTokenInfo, StoresAnEmptyStringForABlankField)
{
    module.token.manufacturer = "";
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(manufacturer), ElementsAre("\"\""));
}

TEST_F(GetTokenInfo, KeepsBytesBeyondAsciiAsTheyAre)
{
    module.token.label = "Jet\xc3\xb3n";
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(label), ElementsAre("\"Jet\xc3\xb3n\""));
}

TEST_F(GetTokenInfo, WritesAllBitsOfTheFlags)
{
    module.token.flags = 0xffffffffffffffff;
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(flags), ElementsAre("\"ffffffffffffffff\""));
    module.token.flags = 0;
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_THAT(jni.elements(flags), ElementsAre("\"0000000000000000\""));
}

TEST_F(GetTokenInfo, LeavesTheArraysAloneWhenTheTokenIsGone)
{
    module.C_GetTokenInfo = answering(CKR_TOKEN_NOT_PRESENT);
    EXPECT_EQ(getTokenInfo(), code(CKR_TOKEN_NOT_PRESENT));
    EXPECT_EQ(story, modulePathAndTerminalNameRead() + loaded() + slotFound() +
                         "C_GetTokenInfo(slot 7): CKR_TOKEN_NOT_PRESENT\n" + unloaded());
    EXPECT_THAT(jni.elements(label), ElementsAre("null"));
}

} // namespace
