// SPDX-License-Identifier: Apache-2.0
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
    EXPECT_EQ(job(),
              "C_InitToken(slot 7, PIN \"87654321\" [8], label \"VORNIX Token                    \" [32]): CKR_OK\n");
}

TEST_F(InitCard, PassesAnEmptyPinAsNull)
{
    module.C_InitToken = answering(CKR_OK);
    EXPECT_EQ(call(natives::initCard, terminalName, modulePath, jni.bytes("soPin", {})), 0);
    EXPECT_THAT(story, HasSubstr("C_InitToken(slot 7, PIN null [0], label "));
}

class CleanCard : public NativeMethodTest {};

TEST_F(CleanCard, DestroysAllObjects)
{
    module.add(scripted::dataObject("note"));
    module.add(scripted::certificate("alice", {0x01}, {0x30}));
    EXPECT_EQ(call(natives::cleanCard, terminalName, modulePath, pin), 0);
    EXPECT_EQ(job(), inSession(allFound({"101", "102"}) + "C_DestroyObject(session 41, object 101): CKR_OK\n"
                                                          "C_DestroyObject(session 41, object 102): CKR_OK\n"));
    EXPECT_THAT(module.objects, IsEmpty());
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
    EXPECT_EQ(job(), "C_GetTokenInfo(slot 7): CKR_OK\n" + stored("label", "Scripted Token") +
                         stored("manufacturer", "Scripted Works") + stored("model", "Scripted Model") +
                         stored("serialNumber", "0123456789abcdef") + stored("flags", "000000000000040d"));
}

TEST_F(GetTokenInfo, SkipsNullArrays)
{
    label = nullptr;
    serialNumber = nullptr;
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_EQ(job(), "C_GetTokenInfo(slot 7): CKR_OK\n" + stored("manufacturer", "Scripted Works") +
                         stored("model", "Scripted Model") + stored("flags", "000000000000040d"));
}

TEST_F(GetTokenInfo, AcceptsNullForAllArrays)
{
    label = manufacturer = model = serialNumber = flags = nullptr;
    EXPECT_EQ(getTokenInfo(), 0);
    EXPECT_EQ(job(), "C_GetTokenInfo(slot 7): CKR_OK\n");
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

} // namespace
