// SPDX-License-Identifier: Apache-2.0
// Native methods: the codes that guard the token, and the reader's power.
#include "jni/native_frame.h"

extern "C" {

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_setPin(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray oldPin, jbyteArray newPin)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::SetPin, ByteArray(oldPin),
                      ByteArray(newPin));
}

JNIEXPORT jlong JNICALL Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_setPuk(
    JNIEnv* env, jobject, jstring terminalName, jstring modulePath, jbyteArray oldPuk, jbyteArray newPuk)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::SetPuk, ByteArray(oldPuk),
                      ByteArray(newPuk));
}

JNIEXPORT void JNICALL Java_com_tovr_smartcard_vornixtoken_utils_PcscUtils_resetTerminal(JNIEnv* env, jobject,
                                                                                         jstring readerName)
{
    P11Wrapper::ResetTerminal(readString(env, readerName).c_str());
}

} // extern "C"
