// SPDX-License-Identifier: Apache-2.0
// The sixteen native methods as the Java virtual machine calls them, declared here on their own so that a change of a
// name or of a parameter's place shows. The receiver comes second and is ignored by all of them.
#pragma once

#include <jni.h>

#define PKCS11_WRAPPER(method) Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_##method
#define PCSC_UTILS(method) Java_com_tovr_smartcard_vornixtoken_utils_PcscUtils_##method

extern "C" {

// Module access
jlong PKCS11_WRAPPER(setPin)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray oldPin,
                             jbyteArray newPin);
jlong PKCS11_WRAPPER(setPuk)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray oldPuk,
                             jbyteArray newPuk);
void PCSC_UTILS(resetTerminal)(JNIEnv*, jobject, jstring readerName);

// Token administration
jlong PKCS11_WRAPPER(initCard)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray soPin);
jlong PKCS11_WRAPPER(cleanCard)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin);
jlong PKCS11_WRAPPER(getTokenInfo)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jobjectArray label,
                                   jobjectArray manufacturer, jobjectArray model, jobjectArray serialNumber,
                                   jobjectArray flags);
jlong PKCS11_WRAPPER(listObjects)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                  jobject objects);

// Certificates and keys
jlong PKCS11_WRAPPER(getX509Certificate)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                         jstring label, jbyteArray id, jobject certificate);
jlong PKCS11_WRAPPER(getPublicKey)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                   jstring label, jbyteArray id, jobject modulus, jobject exponent);
jlong PKCS11_WRAPPER(loadX509Certificate)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                          jstring label, jbyteArray id, jbyteArray certificate);
jlong PKCS11_WRAPPER(loadCert)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray first,
                               jbyteArray second, jbyteArray pin);
jlong PKCS11_WRAPPER(generateKeyPair)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                      jlong modulusBits, jstring label, jbyteArray id);
jlong PKCS11_WRAPPER(generateGostR3410_12001KeyPair)(JNIEnv*, jobject, jstring terminalName, jstring modulePath,
                                                     jbyteArray pin, jstring label, jbyteArray id);

// Signatures and requests
jlong PKCS11_WRAPPER(pkcs7Sign)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                jbyteArray data, jbyteArray certId, jbyteArray keyId, jobjectArray certIds, jlong flags,
                                jobject signature);
jlong PKCS11_WRAPPER(pkcs7Verify)(JNIEnv*, jobject, jstring modulePath, jbyteArray firstInput, jbyteArray secondInput);
jlong PKCS11_WRAPPER(createCSR)(JNIEnv*, jobject, jstring terminalName, jstring modulePath, jbyteArray pin,
                                jbyteArray publicKeyId, jbyteArray privateKeyId, jobjectArray subject,
                                jobjectArray attributes, jobjectArray extensions, jobject csr);

} // extern "C"

namespace natives {

constexpr auto setPin = PKCS11_WRAPPER(setPin);
constexpr auto setPuk = PKCS11_WRAPPER(setPuk);
constexpr auto resetTerminal = PCSC_UTILS(resetTerminal);
constexpr auto initCard = PKCS11_WRAPPER(initCard);
constexpr auto cleanCard = PKCS11_WRAPPER(cleanCard);
constexpr auto getTokenInfo = PKCS11_WRAPPER(getTokenInfo);
constexpr auto listObjects = PKCS11_WRAPPER(listObjects);
constexpr auto getX509Certificate = PKCS11_WRAPPER(getX509Certificate);
constexpr auto getPublicKey = PKCS11_WRAPPER(getPublicKey);
constexpr auto loadX509Certificate = PKCS11_WRAPPER(loadX509Certificate);
constexpr auto loadCert = PKCS11_WRAPPER(loadCert);
constexpr auto generateKeyPair = PKCS11_WRAPPER(generateKeyPair);
constexpr auto generateGostR3410_2001KeyPair = PKCS11_WRAPPER(generateGostR3410_12001KeyPair);
constexpr auto pkcs7Sign = PKCS11_WRAPPER(pkcs7Sign);
constexpr auto pkcs7Verify = PKCS11_WRAPPER(pkcs7Verify);
constexpr auto createCSR = PKCS11_WRAPPER(createCSR);

} // namespace natives

#undef PKCS11_WRAPPER
#undef PCSC_UTILS
