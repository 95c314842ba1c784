// SPDX-License-Identifier: Apache-2.0
// listObjects.
#include "tests/jni/native_method_test.h"

namespace {

using namespace stories;
using testing::ElementsAre;
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

    /// What happened between the session's closing and the module's unloading.
    std::string delivery() const
    {
        const std::string told = job();
        const std::size_t end = told.find(closed);
        return end == std::string::npos ? "session not closed" : told.substr(end + closed.size());
    }

    jobject objects = jni.list("objects");
};

TEST_F(ListObjects, MakesAnAttributeObjectOfEach)
{
    module.add(scripted::privateKey("alice", {0x01, 0xab}, CKK_GOSTR3410));
    module.add(scripted::certificate("bob", {0x02}, {0x30}));
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(job(), StartsWith(opened + login(userAndPin) + searchStarted("null [0]")));
    EXPECT_EQ(delivery(), classesFound() + constructed() + set("setType", "private key") + set("setLabel", "alice") +
                              set("setId", "01ab") + set("setKeyType", "GOSTR3410") + added() + constructed() +
                              set("setType", "certificate") + set("setLabel", "bob") + set("setId", "02") + added());
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
    EXPECT_EQ(delivery(),
              classesFound() + constructed() + set("setType", "") + set("setLabel", "") + set("setId", "") + added());
}

TEST_F(ListObjects, CallsNoKeyTypeSetterThatIsNotThere)
{
    jni.hideMethod("setKeyType");
    module.add(scripted::privateKey("alice", {0x01}));
    EXPECT_EQ(listObjects(), 0);
    EXPECT_EQ(delivery(), classesFound() + constructed() + set("setType", "private key") + set("setLabel", "alice") +
                              set("setId", "01") + setterFound("setKeyType", "RSA") + added());
}

TEST_F(ListObjects, EndsALabelAtItsFirstNulAndKeepsItsBlanks)
{
    module.add(scripted::dataObject(std::string("no\0te", 5)));
    module.add(scripted::dataObject(" note  "));
    EXPECT_EQ(listObjects(), 0);
    EXPECT_THAT(jni.elements(objects), ElementsAre(R"(setType("data") setLabel("no") setId(""))",
                                                   R"(setType("data") setLabel(" note  ") setId(""))"));
}

TEST_F(ListObjects, LooksUpNoClassForAnEmptyToken)
{
    EXPECT_EQ(listObjects(), 0);
    EXPECT_EQ(delivery(), "");
}

} // namespace
