// SPDX-License-Identifier: Apache-2.0
// Natives: messages and certificate requests.
#include "session/native_call.h"
#include "session/natives.h"
#include "session/session_check.h"

jbyteArray natives::sign(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray data,
                         jbyteArray certificateId, jbyteArray privateKeyId, jobjectArray furtherCertificateIds,
                         jlong flags)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        const Session opened = sessionOf(module, session, lines);
        return explained(opened,
                         jobs::signMessage(opened, ByteArray(env, data).run(), Name(env, certificateId).run(),
                                           Name(env, privateKeyId).run(), readByteArrays(env, furtherCertificateIds),
                                           static_cast<CK_ULONG>(flags), output));
    });
}

void natives::verify(JNIEnv* env, jobject call, jlong module, jbyteArray firstInput, jbyteArray secondInput)
{
    run(env, call, [&](const Diagnostics&) {
        return jobs::verifyMessage(moduleOf(module).functions(), ByteArray(env, firstInput).run(),
                                   ByteArray(env, secondInput).run());
    });
}

jbyteArray natives::createRequest(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray publicKeyId,
                                  jbyteArray privateKeyId, jbyteArray subject, jlong subjectCount,
                                  jbyteArray attributes, jlong attributeCount, jbyteArray extensions,
                                  jlong extensionCount)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        const Session opened = sessionOf(module, session, lines);
        return explained(opened,
                         jobs::createRequest(opened, Name(env, publicKeyId).run(), Name(env, privateKeyId).run(),
                                             ByteArray(env, subject).groups(subjectCount, 2),
                                             ByteArray(env, attributes).groups(attributeCount, 2),
                                             ByteArray(env, extensions).groups(extensionCount, 3), output));
    });
}
