// SPDX-License-Identifier: Apache-2.0
// pkcs7Sign and pkcs7Verify; createCSR has certificate_request_test.cpp.
#include "tests/jni/native_method_test.h"

#include <algorithm>

namespace {

using namespace stories;
using scripted::answering;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class Pkcs7Sign : public NativeMethodTest {
protected:
    Pkcs7Sign()
    {
        module.add(scripted::certificate("alice", {0x01}, {0x30}));
        module.add(scripted::privateKey("alice", {0x01}));
        module.add(scripted::certificate("root", {0x0a, 0x0b}, {0x30}));
        module.C_TOVR_pkcs7Sign = [this](auto, auto, auto, auto, CK_BYTE* signature, CK_ULONG* length, auto, auto, auto,
                                         auto) {
            if (signature != nullptr)
                std::copy(message.begin(), message.end(), signature);
            *length = message.size();
            return CKR_OK;
        };
    }

    jlong pkcs7Sign()
    {
        return call(natives::pkcs7Sign, terminalName, modulePath, pin, data, certId, keyId, certIds, flags, signature);
    }

    /// A call of the vendor function, without its result.
    static std::string signing(const std::string& certificate, const std::string& key, const std::string& further,
                               const std::string& buffer, const std::string& flags = "0x0")
    {
        return "C_TOVR_pkcs7Sign(session 41, data \"data\" [4], certificate " + certificate + ", buffer " + buffer +
               ", private key " + key + ", certificates " + further + ", flags " + flags + ")";
    }

    Bytes message = {0x30, 0x80};
    jbyteArray data = jni.bytes("data", {'d', 'a', 't', 'a'});
    jbyteArray certId = jni.bytes("certId", {0x01});
    jbyteArray keyId = jni.bytes("keyId", {0x01});
    jobjectArray certIds = nullptr;
    jlong flags = 0;
    jobject signature = jni.list("signature");
};

TEST_F(Pkcs7Sign, AppendsTheMessage)
{
    certIds = jni.byteArrays("certIds", {{0x0a, 0x0b}, {0x01}});
    flags = 5;
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(story, StartsWith(converted(copied("pin", 8) + copied("data", 4) + copied("certId", 1) +
                                            copied("keyId", 1) + "GetArrayLength(certIds)\n" +
                                            "GetObjectArrayElement(certIds, 0)\n" + copied("certIds[0]", 2) +
                                            "GetObjectArrayElement(certIds, 1)\n" + copied("certIds[1]", 1)) +
                                  loaded));
    const std::string length = " -> length 2: CKR_OK\n";
    EXPECT_EQ(job(), inSession(found("{CKA_CLASS CKO_CERTIFICATE [8], CKA_ID 01 [1]}", "101") +
                               found("{CKA_CLASS CKO_PRIVATE_KEY [8], CKA_ID 01 [1]}", "102") +
                               found("{CKA_CLASS CKO_CERTIFICATE [8], CKA_ID 0a0b [2]}", "103") +
                               found("{CKA_CLASS CKO_CERTIFICATE [8], CKA_ID 01 [1]}", "101") +
                               signing("101", "102", "{103, 101} count 2", "null", "0x5") + length +
                               signing("101", "102", "{103, 101} count 2", "zeros [2]", "0x5") + length) +
                         delivered("signature", {0x30, 0x80}));
    EXPECT_THAT(jni.elements(signature), ElementsAre("Byte 48", "Byte -128"));
}

TEST_F(Pkcs7Sign, KeepsWhatTheListHolds)
{
    signature = jni.list("signature", {"before"});
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(jni.elements(signature), ElementsAre("\"before\"", "Byte 48", "Byte -128"));
}

TEST_F(Pkcs7Sign, AsksNothingOfANullArrayOfFurtherIds)
{
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(story,
                StartsWith(converted(copied("pin", 8) + copied("data", 4) + copied("certId", 1) + copied("keyId", 1)) +
                           loaded));
    EXPECT_THAT(story, HasSubstr(signing("101", "102", "null count 0", "null")));
}

TEST_F(Pkcs7Sign, ReadsNoElementOfAnEmptyArrayOfFurtherIds)
{
    certIds = jni.byteArrays("certIds", {});
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(story, HasSubstr(copied("keyId", 1) + "GetArrayLength(certIds)\n" + read("modulePath")));
    EXPECT_THAT(story, HasSubstr(signing("101", "102", "null count 0", "null")));
}

TEST_F(Pkcs7Sign, PassesEmptyDataAsNull)
{
    data = jni.bytes("data", {});
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(story, HasSubstr("C_TOVR_pkcs7Sign(session 41, data null [0], "));
}

TEST_F(Pkcs7Sign, PassesAllBitsOfTheFlags)
{
    flags = static_cast<jlong>(0x8000000000000001);
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(story, HasSubstr("flags 0x8000000000000001)"));
}

TEST_F(Pkcs7Sign, TouchesNothingForAnEmptyMessage)
{
    message.clear();
    EXPECT_EQ(pkcs7Sign(), 0);
    EXPECT_THAT(job(), EndsWith(signing("101", "102", "null count 0", "null") + " -> length 0: CKR_OK\n" + closed));
}

class Pkcs7Verify : public NativeMethodTest {
protected:
    jlong pkcs7Verify() { return call(natives::pkcs7Verify, modulePath, firstInput, secondInput); }

    /// The whole story: it has neither slot nor session.
    static std::string verified(const std::string& binaries, const std::string& answer)
    {
        return read("modulePath") + binaries + loaded + "C_TOVR_pkcs7Verify" + answer + "\n" + unloaded;
    }

    jbyteArray firstInput = jni.bytes("firstInput", {0x01, 0x02, 0x03});
    jbyteArray secondInput = jni.bytes("secondInput", {0x0a, 0x0b});
};

TEST_F(Pkcs7Verify, HandsBothInputsOverWithoutAnySlotOrSession)
{
    module.C_TOVR_pkcs7Verify = answering(CKR_OK);
    EXPECT_EQ(pkcs7Verify(), 0);
    EXPECT_EQ(story, verified(copied("secondInput", 2) + copied("firstInput", 3),
                              "(first 010203 [3], second 0a0b [2]): CKR_OK"));
}

TEST_F(Pkcs7Verify, PassesNullArraysAsNull)
{
    firstInput = secondInput = nullptr;
    module.C_TOVR_pkcs7Verify = answering(CKR_DATA_INVALID);
    EXPECT_EQ(pkcs7Verify(), code(CKR_DATA_INVALID));
    EXPECT_EQ(story, verified("", "(first null [0], second null [0]): CKR_DATA_INVALID"));
}

TEST_F(Pkcs7Verify, AsksAnEmptyArrayForItsLengthAlone)
{
    firstInput = jni.bytes("firstInput", {});
    secondInput = jni.bytes("secondInput", {});
    EXPECT_EQ(pkcs7Verify(), 0);
    EXPECT_EQ(story, verified("GetArrayLength(secondInput)\nGetArrayLength(firstInput)\n",
                              "(first null [0], second null [0]): CKR_OK"));
}

TEST_F(Pkcs7Verify, SkipsOneNullArray)
{
    firstInput = nullptr;
    EXPECT_EQ(pkcs7Verify(), code(CKR_SIGNATURE_INVALID));
    EXPECT_EQ(story, verified(copied("secondInput", 2), "(first null [0], second 0a0b [2]): CKR_SIGNATURE_INVALID"));
}

} // namespace
