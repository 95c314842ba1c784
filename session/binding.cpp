// SPDX-License-Identifier: Apache-2.0
// Binds the natives to the class that asks for it, whichever class loader has loaded this file.
#include "session/natives.h"

#include <array>

namespace {

template <typename Function>
JNINativeMethod entry(const char* name, const char* signature, Function* function)
{
    return {const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function)};
}

} // namespace

extern "C" JNIEXPORT void JNICALL Java_com_tovr_smartcard_vornixtoken_NativeCall_bind(JNIEnv* env, jclass callClass)
{
    const std::array methods{
        entry("load", "([B)J", natives::load),
        entry("functionList", "(J)J", natives::functionList),
        entry("initialize", "(J)I", natives::initialize),
        entry("finish", "(J)V", natives::finish),
        entry("unload", "(J)V", natives::unload),
        entry("hasVendorFunctions", "(J)Z", natives::hasVendorFunctions),
        entry("slots", "(JZ)[B", natives::slots),
        entry("tokenInfo", "(JJ)[B", natives::tokenInfo),
        entry("openSession", "(JJ)J", natives::openSession),
        entry("login", "(JJJ[B)Z", natives::login),
        entry("closeSession", "(JJ)V", natives::closeSession),
        entry("initializeToken", "(JJ[B)V", natives::initializeToken),
        entry("changePin", "(JJ[B[B)V", natives::changePin),
        entry("destroyObjects", "(JJ)V", natives::destroyObjects),
        entry("listObjects", "(JJ)[B", natives::listObjects),
        entry("listCertificates", "(JJ)[B", natives::listCertificates),
        entry("readCertificate", "(JJ[B[B)[B", natives::readCertificate),
        entry("readPublicKey", "(JJ[B[B)[B", natives::readPublicKey),
        entry("importCertificate", "(JJ[B[B[B)V", natives::importCertificate),
        entry("importBlocks", "(JJ[B[B)V", natives::importBlocks),
        entry("generateRsaKeyPair", "(JJJ[B[B)V", natives::generateRsaKeyPair),
        entry("generateGostKeyPair", "(JJ[B[B)V", natives::generateGostKeyPair),
        entry("sign", "(JJ[B[B[B[[BJ)[B", natives::sign),
        entry("verify", "(J[B[B)V", natives::verify),
        entry("createRequest", "(JJ[B[B[BJ[BJ[BJ)[B", natives::createRequest),
        entry("resetReader", "([B)V", natives::resetReader),
        entry("keepShared", "(Ljava/lang/Object;)[B", natives::keepShared),
        entry("findShared", "([B)Ljava/lang/Object;", natives::findShared),
        entry("awaitReaderChange", "([[B[JJ)[B", natives::awaitReaderChange),
    };
    (void)env->RegisterNatives(callClass, methods.data(), methods.size()); // a failure leaves a Java exception
}
