// listObjects.
#include "tests/jni/native_method_test.h"

namespace {

using namespace stories;
using scripted::answering;
using scripted::bytesOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const std::string attributeClass = "com/tovr/smartcard/vornixtoken/api/Pkcs11ObjectAttribute";

std::string classesFound()
{
    return "FindClass(" + attributeClass + ")\nFindClass(java/util/ArrayList)\n";
}

std::string constructed()
{
    return "GetMethodID(" + attributeClass + ", <init>, ()V)\nNewObject(" + attributeClass + ")\n";
}

std::string setterFound(const std::string& setter, const std::string& text)
{
    return "NewStringUTF(\"" + text + "\")\nGetMethodID(" + attributeClass + ", " + setter +
           ", (Ljava/lang/String;)V)\n";
}

std::string set(const std::string& setter, const std::string& text)
{
    return setterFound(setter, text) + "CallVoidMethod(attribute." + setter + ", \"" + text + "\")\n";
}

std::string added()
{
    return "GetMethodID(java/util/ArrayList, add, (Ljava/lang/Object;)Z)\nCallVoidMethod(objects.add, attribute)\n";
}

class ListObjects : public NativeMethodTest {
protected:
    jlong listObjects() { return call(natives::listObjects, terminalName, modulePath, pin, objects); }

    /// What happened once the token had answered.
    std::string delivery() const
    {
        const std::size_t end = story.find(sessionClosed());
        return end == std::string::npos ? "session not closed" : story.substr(end + sessionClosed().size());
    }

    jobject objects = jni.list("objects");
};

TEST_F(ListObjects, MakesAnAttributeObjectOfEach)
{
    module.add(scripted::privateKey("alice", {0x01, 0xab}, CKK_GOSTR3410));
    module.add(scripted::certificate("bob", {0x02}, {0x30}));
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(story, StartsWith(copied("pin", 8) + modulePathAndTerminalNameRead() + loaded() + slotFound() +
                                  loggedIn() + "C_FindObjectsInit(session 41, null [0]): CKR_OK\n"));
    EXPECT_EQ(delivery(), classesFound() + constructed() + set("setType", "private key") + set("setLabel", "alice") +
                              set("setId", "01ab") + set("setKeyType", "GOSTR3410") + added() + constructed() +
                              set("setType", "certificate") + set("setLabel", "bob") + set("setId", "02") + added() +
                              unloaded());
}

TEST_F(ListObjects, AppendsInTheOrderOfTheSearch)
{
    objects = jni.list("objects", {"before"});
    module.addSampleObjects();
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(jni.elements(objects),
                ElementsAre("\"before\"", R"(setType("certificate") setLabel("alice") setId("01"))",
                            R"(setType("public key") setLabel("alice") setId("01") setKeyType("RSA"))",
                            R"(setType("private key") setLabel("alice") setId("01") setKeyType("RSA"))",
                            R"(setType("public key") setLabel("boris") setId("02ff") setKeyType("GOSTR3410"))",
                            R"(setType("private key") setLabel("boris") setId("02ff") setKeyType("GOSTR3410"))",
                            R"(setType("data") setLabel("note") setId(""))"));
}

TEST_F(ListObjects, SetsEmptyTextsButNoEmptyKeyType)
{
    module.add({});
    EXPECT_EQ(listObjects(), 0);
    EXPECT_EQ(delivery(), classesFound() + constructed() + set("setType", "") + set("setLabel", "") + set("setId", "") +
                              added() + unloaded());
}

TEST_F(ListObjects, CallsNoKeyTypeSetterThatIsNotThere)
{
    jni.hideMethod("setKeyType");
    module.add(scripted::privateKey("alice", {0x01}));
    EXPECT_EQ(listObjects(), 0);
    EXPECT_EQ(delivery(), classesFound() + constructed() + set("setType", "private key") + set("setLabel", "alice") +
                              set("setId", "01") + setterFound("setKeyType", "RSA") + added() + unloaded());
}

TEST_F(ListObjects, EndsALabelAtItsFirstNulAndKeepsItsBlanks)
{
    module.add(scripted::dataObject(std::string("no\0te", 5)));
    module.add(scripted::dataObject(" note  "));
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(jni.elements(objects), ElementsAre(R"(setType("data") setLabel("no") setId(""))",
                                                   R"(setType("data") setLabel(" note  ") setId(""))"));
}

TEST_F(ListObjects, NamesUnknownClassesAndKeyTypes)
{
    module.add({{CKA_CLASS, bytesOf(CK_ULONG{0x80000001})}, {CKA_KEY_TYPE, bytesOf(CK_ULONG{CKK_DH})}});
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(jni.elements(objects),
                ElementsAre(R"(setType("unknown") setLabel("") setId("") setKeyType("Unknown"))"));
}

TEST_F(ListObjects, LooksUpNoClassForAnEmptyToken)
{
    EXPECT_EQ(listObjects(), 0);
    EXPECT_EQ(delivery(), unloaded());
}

TEST_F(ListObjects, ReturnsZeroForASessionRefusedAsAnInvalidAttribute)
{
    module.C_OpenSession = answering(CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(jni.elements(objects), IsEmpty());
    EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(ListObjects, DeliversNothingWhenTheLastObjectCannotBeRead)
{
    module.add(scripted::dataObject("first"));
    module.add(scripted::dataObject("second"));
    scripted::failNth(module.C_GetAttributeValue, 4, CKR_DEVICE_ERROR);
    EXPECT_EQ(listObjects(), code(CKR_DEVICE_ERROR));
    EXPECT_EQ(delivery(), unloaded());
    EXPECT_THAT(printed(), ElementsAre("C_GetAttributeValue #2 failed for 102. Code: 48"));
}

TEST_F(ListObjects, DeliversTheRestWhenAnEarlierObjectCannotBeRead)
{
    module.add(scripted::dataObject("first"));
    module.add(scripted::dataObject("second"));
    scripted::failNth(module.C_GetAttributeValue, 1, CKR_DEVICE_ERROR);
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(jni.elements(objects), ElementsAre(R"(setType("data") setLabel("second") setId(""))"));
    EXPECT_THAT(printed(), ElementsAre("C_GetAttributeValue failed for 101. Code: 48"));
}

} // namespace
