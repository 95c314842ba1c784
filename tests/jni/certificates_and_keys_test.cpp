// SPDX-License-Identifier: Apache-2.0
// getX509Certificate, getPublicKey, loadX509Certificate and loadCert; the rest has key_pair_generation_test.cpp.
#include "tests/jni/native_method_test.h"

namespace {

using namespace stories;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class GetX509Certificate : public NativeMethodTest {
protected:
    jlong getX509Certificate()
    {
        return call(natives::getX509Certificate, terminalName, modulePath, pin, label, id, certificate);
    }

    jstring label = jni.string("label", "alice");
    jbyteArray id = jni.bytes("id", {0x01});
    jobject certificate = jni.list("certificate");
};

TEST_F(GetX509Certificate, AppendsItsBytesAsJavaBytes)
{
    module.add(scripted::certificate("alice", {0x01}, {0x30, 0x80, 0xff, 0x00}));
    EXPECT_EQ(getX509Certificate(), 0);
    EXPECT_EQ(job(),
              inSession(searchStarted("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5], CKA_ID 01 [1]}") +
                        next("101") +
                        "C_GetAttributeValue(session 41, object 101, {CKA_VALUE null [0]}) -> [4]: CKR_OK\n"
                        "C_GetAttributeValue(session 41, object 101, {CKA_VALUE zeros [4]}) -> [4]: CKR_OK\n" +
                        searchEnded) +
                  delivered("certificate", {0x30, 0x80, 0xff, 0x00}));
    EXPECT_THAT(jni.elements(certificate), ElementsAre("Byte 48", "Byte -128", "Byte -1", "Byte 0"));
}

TEST_F(GetX509Certificate, KeepsWhatTheListHolds)
{
    certificate = jni.list("certificate", {"before"});
    module.add(scripted::certificate("alice", {0x01}, {0x7f}));
    EXPECT_EQ(getX509Certificate(), 0);
    EXPECT_EQ(getX509Certificate(), 0);
    EXPECT_THAT(jni.elements(certificate), ElementsAre("\"before\"", "Byte 127", "Byte 127"));
}

TEST_F(GetX509Certificate, DeliversEveryByteValueInOrder)
{
    Bytes all(256);
    Lines expected;
    for (int i = 0; i < 256; ++i) {
        all[i] = static_cast<unsigned char>(i);
        expected.push_back("Byte " + std::to_string(i < 128 ? i : i - 256));
    }
    module.add(scripted::certificate("alice", {0x01}, all));
    EXPECT_EQ(getX509Certificate(), 0);
    EXPECT_EQ(jni.elements(certificate), expected);
}

TEST_F(GetX509Certificate, TouchesNothingForAnEmptyCertificate)
{
    module.add(scripted::certificate("alice", {0x01}, {}));
    EXPECT_EQ(getX509Certificate(), 0);
    EXPECT_THAT(job(), EndsWith(closed));
}

TEST_F(GetX509Certificate, SendsAnEmptyLabel)
{
    label = jni.string("label", "");
    EXPECT_EQ(getX509Certificate(), 6);
    EXPECT_THAT(printed(), ElementsAre("C_FindObjects object not found. Code: 0"));
    EXPECT_THAT(story, HasSubstr("{CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"\" [0], CKA_ID 01 [1]}"));
}

TEST_F(GetX509Certificate, SendsALabelBeyondAsciiAsModifiedUtf8)
{
    label = jni.string("label", "\xc3\xa9\xc0\x80");
    EXPECT_EQ(getX509Certificate(), 6);
    EXPECT_THAT(story, HasSubstr("CKA_LABEL c3a9c080 [4]"));
}

class GetPublicKey : public NativeMethodTest {
protected:
    jlong getPublicKey()
    {
        return call(natives::getPublicKey, terminalName, modulePath, pin, label, id, modulus, exponent);
    }

    jstring label = jni.string("label", "alice");
    jbyteArray id = jni.bytes("id", {0x01});
    jobject modulus = jni.list("modulus");
    jobject exponent = jni.list("exponent");
};

TEST_F(GetPublicKey, AppendsModulusThenExponent)
{
    module.add(scripted::rsaPublicKey("alice", {0x01}, {0x00, 0xc3, 0x80}, {0x01, 0x00, 0x01}));
    EXPECT_EQ(getPublicKey(), 0);
    const std::string reading = "C_GetAttributeValue(session 41, object 101, ";
    EXPECT_EQ(job(),
              inSession(searchStarted("{CKA_CLASS CKO_PUBLIC_KEY [8], CKA_LABEL \"alice\" [5], CKA_ID 01 [1]}") +
                        next("101") + reading +
                        "{CKA_MODULUS null [0], CKA_PUBLIC_EXPONENT null [0]}) -> [3, 3]: CKR_OK\n" + reading +
                        "{CKA_MODULUS zeros [3], CKA_PUBLIC_EXPONENT zeros [3]}) -> [3, 3]: CKR_OK\n" + searchEnded) +
                  delivered("modulus", {0x00, 0xc3, 0x80}) + delivered("exponent", {0x01, 0x00, 0x01}));
    EXPECT_THAT(jni.elements(modulus), ElementsAre("Byte 0", "Byte -61", "Byte -128"));
    EXPECT_THAT(jni.elements(exponent), ElementsAre("Byte 1", "Byte 0", "Byte 1"));
}

TEST_F(GetPublicKey, KeepsWhatTheListsHold)
{
    modulus = jni.list("modulus", {"before"});
    exponent = jni.list("exponent", {"before too"});
    module.add(scripted::rsaPublicKey("alice", {0x01}, {0x05}, {0x03}));
    EXPECT_EQ(getPublicKey(), 0);
    EXPECT_THAT(jni.elements(modulus), ElementsAre("\"before\"", "Byte 5"));
    EXPECT_THAT(jni.elements(exponent), ElementsAre("\"before too\"", "Byte 3"));
}

TEST_F(GetPublicKey, TouchesNeitherListForAnEmptyModulus)
{
    module.add(scripted::rsaPublicKey("alice", {0x01}, {}, {0x03}));
    EXPECT_EQ(getPublicKey(), 0);
    EXPECT_THAT(job(), EndsWith(closed));
}

TEST_F(GetPublicKey, DeliversTheModulusAloneForAnEmptyExponent)
{
    module.add(scripted::rsaPublicKey("alice", {0x01}, {0x05}, {}));
    EXPECT_EQ(getPublicKey(), 0);
    EXPECT_THAT(job(), EndsWith(closed + delivered("modulus", {0x05})));
}

class LoadX509Certificate : public NativeMethodTest {
protected:
    jlong loadX509Certificate()
    {
        return call(natives::loadX509Certificate, terminalName, modulePath, pin, label, id, certificate);
    }

    jstring label = jni.string("label", "carol");
    jbyteArray id = jni.bytes("id", {0x03});
    jbyteArray certificate = jni.bytes("certificate", {0x30, 0x00});
};

TEST_F(LoadX509Certificate, HandsLabelIdAndCertificateOver)
{
    EXPECT_EQ(loadX509Certificate(), 0);
    EXPECT_EQ(job(), inSession("C_TOVR_ImportX509Certificate(session 41, label \"carol\", ID 03 [1], certificate 3000 "
                               "[2]): CKR_OK\n"));
}

TEST_F(LoadX509Certificate, HandsEmptyArgumentsOver)
{
    label = jni.string("label", "");
    id = jni.bytes("id", {});
    certificate = jni.bytes("certificate", {});
    EXPECT_EQ(loadX509Certificate(), 0);
    EXPECT_THAT(story, HasSubstr("(session 41, label \"\", ID null [0], certificate null [0])"));
}

class LoadCert : public NativeMethodTest {
protected:
    jbyteArray first = jni.bytes("first", {0x30, 0x00});
    jbyteArray second = jni.bytes("second", {0x03});
};

TEST_F(LoadCert, HandsBothBlocksOverAndLogsInWithTheLastArgument)
{
    EXPECT_EQ(call(natives::loadCert, terminalName, modulePath, first, second, pin), 0);
    EXPECT_EQ(job(), inSession("C_TOVR_ImportCert(session 41, first 3000 [2], second 03 [1]): CKR_OK\n"));
}

} // namespace
