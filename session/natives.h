// SPDX-License-Identifier: Apache-2.0
// The natives of Java's NativeCall, whose comments tell what each takes and returns.
#pragma once

#include <jni.h>

namespace natives {

// --- module_access.cpp ---
jlong load(JNIEnv* env, jobject call, jbyteArray path);
jlong functionList(JNIEnv* env, jobject call, jlong module);
jint initialize(JNIEnv* env, jobject call, jlong module);
void finish(JNIEnv* env, jobject call, jlong module);
void unload(JNIEnv* env, jobject call, jlong module);
jboolean hasVendorFunctions(JNIEnv* env, jobject call, jlong module);
jbyteArray slots(JNIEnv* env, jobject call, jlong module, jboolean tokens);
jlong openSession(JNIEnv* env, jobject call, jlong module, jlong slot);
jboolean login(JNIEnv* env, jobject call, jlong module, jlong session, jlong userType, jbyteArray pin);
void closeSession(JNIEnv* env, jobject call, jlong module, jlong session);
void changePin(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray oldPin, jbyteArray newPin);
void resetReader(JNIEnv* env, jobject call, jbyteArray name);
jbyteArray awaitReaderChange(JNIEnv* env, jobject call, jobjectArray names, jlongArray states, jlong timeout);

// --- token_administration.cpp ---
jbyteArray tokenInfo(JNIEnv* env, jobject call, jlong module, jlong slot);
void initializeToken(JNIEnv* env, jobject call, jlong module, jlong slot, jbyteArray puk);
void destroyObjects(JNIEnv* env, jobject call, jlong module, jlong session);
jbyteArray listObjects(JNIEnv* env, jobject call, jlong module, jlong session);

// --- certificates_and_keys.cpp ---
jbyteArray listCertificates(JNIEnv* env, jobject call, jlong module, jlong session);
jbyteArray readCertificate(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label, jbyteArray id);
jbyteArray readPublicKey(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label, jbyteArray id);
void importCertificate(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label, jbyteArray id,
                       jbyteArray certificate);
void importBlocks(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray first, jbyteArray second);
void generateRsaKeyPair(JNIEnv* env, jobject call, jlong module, jlong session, jlong modulusBits, jbyteArray label,
                        jbyteArray id);
void generateGostKeyPair(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label, jbyteArray id);

// --- signatures_and_requests.cpp ---
jbyteArray sign(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray data, jbyteArray certificateId,
                jbyteArray privateKeyId, jobjectArray furtherCertificateIds, jlong flags);
void verify(JNIEnv* env, jobject call, jlong module, jbyteArray firstInput, jbyteArray secondInput);
jbyteArray createRequest(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray publicKeyId,
                         jbyteArray privateKeyId, jbyteArray subject, jlong subjectCount, jbyteArray attributes,
                         jlong attributeCount, jbyteArray extensions, jlong extensionCount);

// --- shared_object.cpp ---
jbyteArray keepShared(JNIEnv* env, jobject call, jobject object);
jobject findShared(JNIEnv* env, jobject call, jbyteArray name);

} // namespace natives
