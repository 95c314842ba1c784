// SPDX-License-Identifier: Apache-2.0
#include "tests/session/bound_natives.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

template <typename Type>
constexpr const char* signatureOfType = nullptr;
template <>
constexpr const char* signatureOfType<void> = "V";
template <>
constexpr const char* signatureOfType<jboolean> = "Z";
template <>
constexpr const char* signatureOfType<jint> = "I";
template <>
constexpr const char* signatureOfType<jlong> = "J";
template <>
constexpr const char* signatureOfType<jbyteArray> = "[B";
template <>
constexpr const char* signatureOfType<jobject> = "Ljava/lang/Object;";
template <>
constexpr const char* signatureOfType<jlongArray> = "[J";
template <>
constexpr const char* signatureOfType<jobjectArray> = "[[B"; // the only one that a native takes

/// "(J[B)V" for void (JNIEnv*, jobject, jlong, jbyteArray).
template <typename Result, typename... Arguments>
std::string signatureOf(Result (*)(JNIEnv*, jobject, Arguments...))
{
    return "(" + (std::string() + ... + signatureOfType<Arguments>)+")" + signatureOfType<Result>;
}

template <typename Native>
void find(const StrictJniEnv& java, const char* name, Native& native)
{
    const auto& all = java.registered;
    const auto found = std::find_if(all.begin(), all.end(), [=](const auto& one) { return one.name == name; });
    if (found != all.end() && found->signature == signatureOf(native))
        native = reinterpret_cast<Native>(found->function);
    EXPECT_NE(native, nullptr) << name << signatureOf(native) << " is not bound";
}

} // namespace

BoundNatives::BoundNatives(StrictJniEnv& java)
{
    Java_com_tovr_smartcard_vornixtoken_NativeCall_bind(java.get(), java.callClass());
    find(java, "load", load);
    find(java, "functionList", functionList);
    find(java, "initialize", initialize);
    find(java, "finish", finish);
    find(java, "unload", unload);
    find(java, "hasVendorFunctions", hasVendorFunctions);
    find(java, "slots", slots);
    find(java, "tokenInfo", tokenInfo);
    find(java, "openSession", openSession);
    find(java, "login", login);
    find(java, "closeSession", closeSession);
    find(java, "initializeToken", initializeToken);
    find(java, "changePin", changePin);
    find(java, "destroyObjects", destroyObjects);
    find(java, "listObjects", listObjects);
    find(java, "listCertificates", listCertificates);
    find(java, "readCertificate", readCertificate);
    find(java, "readPublicKey", readPublicKey);
    find(java, "importCertificate", importCertificate);
    find(java, "importBlocks", importBlocks);
    find(java, "generateRsaKeyPair", generateRsaKeyPair);
    find(java, "generateGostKeyPair", generateGostKeyPair);
    find(java, "sign", sign);
    find(java, "verify", verify);
    find(java, "createRequest", createRequest);
    find(java, "resetReader", resetReader);
    find(java, "keepShared", keepShared);
    find(java, "findShared", findShared);
    find(java, "awaitReaderChange", awaitReaderChange);
}
