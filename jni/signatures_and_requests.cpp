// SPDX-License-Identifier: Apache-2.0
// Native methods: PKCS #7 messages and certificate requests.
#include "jni/native_frame.h"

extern "C" {

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_pkcs7Sign(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jbyteArray data,
    jbyteArray certificateId, jbyteArray keyId, jobjectArray furtherCertificateIds, jlong flags, jobject signature)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::pkcs7Sign, ByteArray(pin),
                      ByteArray(data), ByteArray(certificateId), ByteArray(keyId), ByteArrays(furtherCertificateIds),
                      Number(flags), ByteList(signature));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_pkcs7Verify(JNIEnv* env, jobject,
                                                                                          jstring modulePath,
                                                                                          jbyteArray firstInput,
                                                                                          jbyteArray secondInput)
{
    // No token, hence no terminal name; and the second input is read before the first.
    const std::string module = readString(env, modulePath);
    SecretBytes second = readBytesIfAny(env, secondInput);
    SecretBytes first = readBytesIfAny(env, firstInput);
    return runOnModule(module, [&](P11Wrapper& wrapper) {
        return wrapper.pkcs7Verify(firstByte(first), first.size(), firstByte(second), second.size());
    });
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_createCSR(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray pin, jbyteArray publicKeyId,
    jbyteArray privateKeyId, jobjectArray subject, jobjectArray attributes, jobjectArray extensions, jobject request)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::createCSR, ByteArray(pin),
                      ByteArray(publicKeyId), ByteArray(privateKeyId), TextGroups(subject, 2),
                      TextGroups(attributes, 2), TextGroups(extensions, 3), ByteList(request));
}

} // extern "C"
