// SPDX-License-Identifier: Apache-2.0
// Native methods: the token as a whole.
#include "jni/native_frame.h"

extern "C" {

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_initCard(JNIEnv* env, jobject,
                                                                                       jstring terminalName,
                                                                                       jstring modulePath,
                                                                                       jbyteArray soPin)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::InitCard, ByteArray(soPin));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_cleanCard(JNIEnv* env, jobject,
                                                                                        jstring terminalName,
                                                                                        jstring modulePath,
                                                                                        jbyteArray pin)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::CleanCard, ByteArray(pin));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_getTokenInfo(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jobjectArray label, jobjectArray manufacturer,
    jobjectArray model, jobjectArray serialNumber, jobjectArray flags)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::GetTokenInfo,
                      FirstElement<Bytes>(label), FirstElement<Bytes>(manufacturer), FirstElement<Bytes>(model),
                      FirstElement<Bytes>(serialNumber), FirstElement<std::string>(flags));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_listObjects(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jobject objects)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::ListObjects, ByteArray(pin),
                      ObjectList(objects));
}

} // extern "C"
