// SPDX-License-Identifier: Apache-2.0
// Native methods: reading, importing and generating certificates and keys.
#include "jni/native_frame.h"

extern "C" {

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_getX509Certificate(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jstring label, jbyteArray id,
    jobject certificate)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::GetX509Certificate,
                      ByteArray(pin), Text(label), ByteArray(id), ByteList(certificate));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_getPublicKey(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jstring label, jbyteArray id,
    jobject modulus, jobject exponent)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::GetPublicKey,
                      ByteArray(pin), Text(label), ByteArray(id), PublicKeyLists(modulus, exponent));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_loadX509Certificate(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jstring label, jbyteArray id,
    jbyteArray certificate)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::ImportX509Certificate,
                      ByteArray(pin), Text(label), ByteArray(id), ByteArray(certificate));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_loadCert(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray first, jbyteArray second, jbyteArray pin)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::ImportCert,
                      ByteArray(first), ByteArray(second), ByteArray(pin));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_generateKeyPair(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jlong modulusBits, jstring label,
    jbyteArray id)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::GenerateKeyPair,
                      ByteArray(pin), Number(modulusBits), Text(label), ByteArray(id));
}

// The _1 stands for the underscore of the Java name.
JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_generateGostR3410_12001KeyPair(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jstring label, jbyteArray id)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath},
                      &P11Wrapper::GenerateGostR3410_2001KeyPair, ByteArray(pin), Text(label), ByteArray(id));
}

} // extern "C"
