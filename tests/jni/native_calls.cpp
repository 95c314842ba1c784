// SPDX-License-Identifier: Apache-2.0
#include "tests/jni/native_calls.h"

#include "tests/jni/natives.h"
#include "tests/jni/stories.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace stories;
using Bytes = scripted::Bytes;

const Bytes aliceId = {0x01};
const Bytes carolId = {0x03};

template <typename... Parameters, typename... Arguments>
std::function<jlong()> bind(RecordingJniEnv& jni, jlong (*native)(JNIEnv*, jobject, Parameters...),
                            Arguments... arguments)
{
    return [=, &jni] { return native(jni.get(), nullptr, arguments...); };
}

/// A method that takes terminal name and module path first.
template <typename Native, typename... Arguments>
std::function<jlong()> onToken(RecordingJniEnv& jni, const CommonArguments& common, Native native,
                               Arguments... arguments)
{
    return bind(jni, native, common.terminalName, common.modulePath, arguments...);
}

PreparedCall setPin(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::setPin, jni.bytes("oldPin", common.pin), jni.bytes("newPin", common.newPin)),
            converted(copied("oldPin", common.pin.size()) + copied("newPin", common.newPin.size()))};
}

PreparedCall setPuk(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::setPuk, jni.bytes("oldPuk", common.pin), jni.bytes("newPuk", common.newPin)),
            converted(copied("oldPuk", common.pin.size()) + copied("newPuk", common.newPin.size()))};
}

PreparedCall initCard(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::initCard, jni.bytes("soPin", common.pin)),
            converted(copied("soPin", common.pin.size()))};
}

PreparedCall cleanCard(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::cleanCard, jni.bytes("pin", common.pin)),
            converted(copied("pin", common.pin.size()))};
}

PreparedCall getTokenInfo(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobjectArray label = jni.outputArray("label");
    const jobjectArray manufacturer = jni.outputArray("manufacturer");
    const jobjectArray model = jni.outputArray("model");
    const jobjectArray serialNumber = jni.outputArray("serialNumber");
    const jobjectArray flags = jni.outputArray("flags");
    return {onToken(jni, common, natives::getTokenInfo, label, manufacturer, model, serialNumber, flags),
            converted(""),
            {label, manufacturer, model, serialNumber, flags}};
}

PreparedCall listObjects(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject objects = jni.list("objects", {"before"});
    return {onToken(jni, common, natives::listObjects, jni.bytes("pin", common.pin), objects),
            converted(copied("pin", common.pin.size())),
            {objects}};
}

PreparedCall getX509Certificate(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject certificate = jni.list("certificate", {"before"});
    return {onToken(jni, common, natives::getX509Certificate, jni.bytes("pin", common.pin),
                    jni.string("label", "alice"), jni.bytes("id", aliceId), certificate),
            converted(copied("pin", common.pin.size()) + copied("id", 1), read("label")),
            {certificate}};
}

PreparedCall getPublicKey(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject modulus = jni.list("modulus", {"before"});
    const jobject exponent = jni.list("exponent", {"before"});
    return {onToken(jni, common, natives::getPublicKey, jni.bytes("pin", common.pin), jni.string("label", "alice"),
                    jni.bytes("id", aliceId), modulus, exponent),
            converted(copied("pin", common.pin.size()) + copied("id", 1), read("label")),
            {modulus, exponent}};
}

PreparedCall loadX509Certificate(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::loadX509Certificate, jni.bytes("pin", common.pin),
                    jni.string("label", "carol"), jni.bytes("id", carolId), jni.bytes("certificate", {0x30, 0x00})),
            converted(copied("pin", common.pin.size()) + copied("id", 1) + copied("certificate", 2), read("label"))};
}

PreparedCall loadCert(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::loadCert, jni.bytes("first", {0x30, 0x00}), jni.bytes("second", {0x03}),
                    jni.bytes("pin", common.pin)),
            converted(copied("first", 2) + copied("second", 1) + copied("pin", common.pin.size()))};
}

PreparedCall generateKeyPair(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::generateKeyPair, jni.bytes("pin", common.pin), 2048,
                    jni.string("label", "carol"), jni.bytes("id", carolId)),
            converted(copied("pin", common.pin.size()) + copied("id", 1), read("label"))};
}

PreparedCall generateGostR3410_2001KeyPair(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {onToken(jni, common, natives::generateGostR3410_2001KeyPair, jni.bytes("pin", common.pin),
                    jni.string("label", "carol"), jni.bytes("id", carolId)),
            converted(copied("pin", common.pin.size()) + copied("id", 1), read("label"))};
}

PreparedCall pkcs7Sign(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject signature = jni.list("signature", {"before"});
    return {onToken(jni, common, natives::pkcs7Sign, jni.bytes("pin", common.pin),
                    jni.bytes("data", {'d', 'a', 't', 'a'}), jni.bytes("certId", aliceId), jni.bytes("keyId", aliceId),
                    jni.byteArrays("certIds", {aliceId}), 0, signature),
            converted(copied("pin", common.pin.size()) + copied("data", 4) + copied("certId", 1) + copied("keyId", 1) +
                      "GetArrayLength(certIds)\nGetObjectArrayElement(certIds, 0)\n" + copied("certIds[0]", 1)),
            {signature}};
}

PreparedCall pkcs7Verify(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::pkcs7Verify, common.modulePath, jni.bytes("firstInput", {0x01, 0x02}),
                 jni.bytes("secondInput", {0x01, 0x02})),
            read("modulePath") + copied("secondInput", 2) + copied("firstInput", 2)};
}

PreparedCall createCSR(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject csr = jni.list("csr", {"before"});
    return {onToken(jni, common, natives::createCSR, jni.bytes("pin", common.pin), jni.bytes("publicKeyId", aliceId),
                    jni.bytes("privateKeyId", aliceId), jni.strings("subject", {"CN", "Alice"}),
                    jni.strings("attributes", {"challengePassword", "none"}),
                    jni.strings("extensions", {"keyUsage", "critical", "digitalSignature"}), csr),
            converted(copied("pin", common.pin.size()) + copied("publicKeyId", 1) + copied("privateKeyId", 1),
                      allRead("subject", 2) + allRead("attributes", 2) + allRead("extensions", 3)),
            {csr}};
}

using Prepare = PreparedCall (*)(RecordingJniEnv&, const CommonArguments&);

NativeCall nativeCall(const char* name, Prepare prepare, std::size_t secrets, bool looksUpSlot)
{
    NativeCall call;
    call.name = name;
    call.secrets = secrets;
    call.looksUpSlot = looksUpSlot;
    call.prepare = prepare;
    return call;
}

NativeCall withTwoPins(const char* name, Prepare prepare)
{
    return nativeCall(name, prepare, 2, true);
}

NativeCall withPin(const char* name, Prepare prepare)
{
    return nativeCall(name, prepare, 1, true);
}

NativeCall withoutPin(const char* name, Prepare prepare)
{
    return nativeCall(name, prepare, 0, true);
}

NativeCall withoutToken(const char* name, Prepare prepare)
{
    return nativeCall(name, prepare, 0, false);
}

template <typename Condition>
std::vector<NativeCall> nativeCallsWith(Condition condition)
{
    std::vector<NativeCall> chosen;
    const std::vector<NativeCall> all = allNativeCalls();
    std::copy_if(all.begin(), all.end(), std::back_inserter(chosen), condition);
    return chosen;
}

} // namespace

std::string nameOf(const testing::TestParamInfo<NativeCall>& call)
{
    return call.param.name;
}

std::vector<NativeCall> allNativeCalls()
{
    return {
        withTwoPins("setPin", setPin),
        withTwoPins("setPuk", setPuk),
        withPin("initCard", initCard),
        withPin("cleanCard", cleanCard),
        withoutPin("getTokenInfo", getTokenInfo),
        withPin("listObjects", listObjects),
        withPin("getX509Certificate", getX509Certificate),
        withPin("getPublicKey", getPublicKey),
        withPin("loadX509Certificate", loadX509Certificate),
        withPin("loadCert", loadCert),
        withPin("generateKeyPair", generateKeyPair),
        withPin("generateGostR3410_2001KeyPair", generateGostR3410_2001KeyPair),
        withPin("pkcs7Sign", pkcs7Sign),
        withoutToken("pkcs7Verify", pkcs7Verify),
        withPin("createCSR", createCSR),
    };
}

std::vector<NativeCall> nativeCallsWithSlot()
{
    return nativeCallsWith([](const NativeCall& call) { return call.looksUpSlot; });
}

std::vector<NativeCall> nativeCallsWithSecrets()
{
    return nativeCallsWith([](const NativeCall& call) { return call.secrets > 0; });
}
