#include "tests/jni/native_calls.h"

#include "tests/jni/natives.h"
#include "tests/jni/stories.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace stories;
using Bytes = scripted::Bytes;

const Bytes aliceId = {0x01};

template <typename... Parameters, typename... Arguments>
std::function<jlong()> bind(RecordingJniEnv& jni, jlong (*native)(JNIEnv*, jobject, Parameters...),
                            Arguments... arguments)
{
    return [=, &jni] { return native(jni.get(), nullptr, arguments...); };
}

PreparedCall setPin(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::setPin, common.terminalName, common.modulePath, jni.bytes("oldPin", common.pin),
                 jni.bytes("newPin", common.newPin)),
            copied("oldPin", common.pin.size()) + copied("newPin", common.newPin.size()) +
                modulePathAndTerminalNameRead(),
            {}};
}

PreparedCall setPuk(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::setPuk, common.terminalName, common.modulePath, jni.bytes("oldPuk", common.pin),
                 jni.bytes("newPuk", common.newPin)),
            copied("oldPuk", common.pin.size()) + copied("newPuk", common.newPin.size()) +
                modulePathAndTerminalNameRead(),
            {}};
}

PreparedCall initCard(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::initCard, common.terminalName, common.modulePath, jni.bytes("soPin", common.pin)),
            copied("soPin", common.pin.size()) + modulePathAndTerminalNameRead(),
            {}};
}

PreparedCall cleanCard(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::cleanCard, common.terminalName, common.modulePath, jni.bytes("pin", common.pin)),
            copied("pin", common.pin.size()) + modulePathAndTerminalNameRead(),
            {}};
}

PreparedCall getTokenInfo(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobjectArray label = jni.outputArray("label");
    const jobjectArray manufacturer = jni.outputArray("manufacturer");
    const jobjectArray model = jni.outputArray("model");
    const jobjectArray serialNumber = jni.outputArray("serialNumber");
    const jobjectArray flags = jni.outputArray("flags");
    return {bind(jni, natives::getTokenInfo, common.terminalName, common.modulePath, label, manufacturer, model,
                 serialNumber, flags),
            modulePathAndTerminalNameRead(),
            {label, manufacturer, model, serialNumber, flags}};
}

PreparedCall listObjects(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject objects = jni.list("objects", {"before"});
    return {
        bind(jni, natives::listObjects, common.terminalName, common.modulePath, jni.bytes("pin", common.pin), objects),
        copied("pin", common.pin.size()) + modulePathAndTerminalNameRead(),
        {objects}};
}

PreparedCall getX509Certificate(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject certificate = jni.list("certificate", {"before"});
    return {bind(jni, natives::getX509Certificate, common.terminalName, common.modulePath, jni.bytes("pin", common.pin),
                 jni.string("label", "alice"), jni.bytes("id", aliceId), certificate),
            copied("pin", common.pin.size()) + copied("id", 1) + modulePathAndTerminalNameRead() + read("label"),
            {certificate}};
}

PreparedCall getPublicKey(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject modulus = jni.list("modulus", {"before"});
    const jobject exponent = jni.list("exponent", {"before"});
    return {bind(jni, natives::getPublicKey, common.terminalName, common.modulePath, jni.bytes("pin", common.pin),
                 jni.string("label", "alice"), jni.bytes("id", aliceId), modulus, exponent),
            copied("pin", common.pin.size()) + copied("id", 1) + modulePathAndTerminalNameRead() + read("label"),
            {modulus, exponent}};
}

PreparedCall loadX509Certificate(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::loadX509Certificate, common.terminalName, common.modulePath,
                 jni.bytes("pin", common.pin), jni.string("label", "carol"), jni.bytes("id", {0x03}),
                 jni.bytes("certificate", {0x30, 0x00})),
            copied("pin", common.pin.size()) + copied("id", 1) + copied("certificate", 2) +
                modulePathAndTerminalNameRead() + read("label"),
            {}};
}

PreparedCall loadCert(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::loadCert, common.terminalName, common.modulePath, jni.bytes("first", {0x30, 0x00}),
                 jni.bytes("second", {0x03}), jni.bytes("pin", common.pin)),
            copied("first", 2) + copied("second", 1) + copied("pin", common.pin.size()) +
                modulePathAndTerminalNameRead(),
            {}};
}

PreparedCall generateKeyPair(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::generateKeyPair, common.terminalName, common.modulePath, jni.bytes("pin", common.pin),
                 2048, jni.string("label", "carol"), jni.bytes("id", {0x03})),
            copied("pin", common.pin.size()) + copied("id", 1) + modulePathAndTerminalNameRead() + read("label"),
            {}};
}

PreparedCall generateGostR3410_2001KeyPair(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::generateGostR3410_2001KeyPair, common.terminalName, common.modulePath,
                 jni.bytes("pin", common.pin), jni.string("label", "carol"), jni.bytes("id", {0x03})),
            copied("pin", common.pin.size()) + copied("id", 1) + modulePathAndTerminalNameRead() + read("label"),
            {}};
}

PreparedCall pkcs7Sign(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject signature = jni.list("signature", {"before"});
    return {bind(jni, natives::pkcs7Sign, common.terminalName, common.modulePath, jni.bytes("pin", common.pin),
                 jni.bytes("data", {'d', 'a', 't', 'a'}), jni.bytes("certId", aliceId), jni.bytes("keyId", aliceId),
                 jni.byteArrays("certIds", {aliceId}), 0, signature),
            copied("pin", common.pin.size()) + copied("data", 4) + copied("certId", 1) + copied("keyId", 1) +
                "GetArrayLength(certIds)\nGetObjectArrayElement(certIds, 0)\n" + copied("certIds[0]", 1) +
                modulePathAndTerminalNameRead(),
            {signature}};
}

PreparedCall pkcs7Verify(RecordingJniEnv& jni, const CommonArguments& common)
{
    return {bind(jni, natives::pkcs7Verify, common.modulePath, jni.bytes("firstInput", {0x01, 0x02}),
                 jni.bytes("secondInput", {0x01, 0x02})),
            read("modulePath") + copied("secondInput", 2) + copied("firstInput", 2),
            {}};
}

PreparedCall createCSR(RecordingJniEnv& jni, const CommonArguments& common)
{
    const jobject csr = jni.list("csr", {"before"});
    return {bind(jni, natives::createCSR, common.terminalName, common.modulePath, jni.bytes("pin", common.pin),
                 jni.bytes("publicKeyId", aliceId), jni.bytes("privateKeyId", aliceId),
                 jni.strings("subject", {"CN", "Alice"}), jni.strings("attributes", {"challengePassword", "none"}),
                 jni.strings("extensions", {"keyUsage", "critical", "digitalSignature"}), csr),
            copied("pin", common.pin.size()) + copied("publicKeyId", 1) + copied("privateKeyId", 1) +
                modulePathAndTerminalNameRead() + allRead("subject", 2) + allRead("attributes", 2) +
                allRead("extensions", 3),
            {csr}};
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
    return {{"setPin", 2, true, setPin},
            {"setPuk", 2, true, setPuk},
            {"initCard", 1, true, initCard},
            {"cleanCard", 1, true, cleanCard},
            {"getTokenInfo", 0, true, getTokenInfo},
            {"listObjects", 1, true, listObjects},
            {"getX509Certificate", 1, true, getX509Certificate},
            {"getPublicKey", 1, true, getPublicKey},
            {"loadX509Certificate", 1, true, loadX509Certificate},
            {"loadCert", 1, true, loadCert},
            {"generateKeyPair", 1, true, generateKeyPair},
            {"generateGostR3410_2001KeyPair", 1, true, generateGostR3410_2001KeyPair},
            {"pkcs7Sign", 1, true, pkcs7Sign},
            {"pkcs7Verify", 0, false, pkcs7Verify},
            {"createCSR", 1, true, createCSR}};
}

std::vector<NativeCall> nativeCallsWithSlot()
{
    return nativeCallsWith([](const NativeCall& call) { return call.looksUpSlot; });
}

std::vector<NativeCall> nativeCallsWithSecrets()
{
    return nativeCallsWith([](const NativeCall& call) { return call.secrets > 0; });
}
