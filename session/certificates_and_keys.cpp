// SPDX-License-Identifier: Apache-2.0
// Natives: certificates and keys.
#include "session/certificate_listing.h"
#include "session/native_call.h"
#include "session/natives.h"
#include "session/session_check.h"

namespace {

Outcome packCertificates(const Session& session, Bytes& output)
{
    std::vector<ListedCertificate> certificates;
    const Outcome outcome = complete(session, jobs::listCertificates(session, certificates));
    Packing packing(output);
    for (const ListedCertificate& certificate : certificates) {
        packing.bytes(certificate.label);
        packing.bytes(certificate.id);
        packing.bytes(certificate.value);
        packing.number(certificate.hasPrivateKey ? 1 : 0);
    }
    return outcome;
}

Outcome packPublicKey(const Session& session, std::string_view label, ByteRun id, Bytes& output)
{
    Bytes modulus;
    Bytes exponent;
    const Outcome outcome = complete(session, jobs::readPublicKey(session, label, id, modulus, exponent));
    Packing packing(output);
    packing.bytes(modulus);
    packing.bytes(exponent);
    return outcome;
}

} // namespace

jbyteArray natives::listCertificates(JNIEnv* env, jobject call, jlong module, jlong session)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        return packCertificates(sessionOf(module, session, lines), output);
    });
}

jbyteArray natives::readCertificate(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label,
                                    jbyteArray id)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        const Session opened = sessionOf(module, session, lines);
        return complete(opened, jobs::readCertificate(opened, Name(env, label).text(), Name(env, id).run(), output));
    });
}

jbyteArray natives::readPublicKey(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label,
                                  jbyteArray id)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        return packPublicKey(sessionOf(module, session, lines), Name(env, label).text(), Name(env, id).run(), output);
    });
}

void natives::importCertificate(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label, jbyteArray id,
                                jbyteArray certificate)
{
    run(env, call, [&](const Diagnostics& lines) {
        return jobs::importCertificate(sessionOf(module, session, lines), Name(env, label).cString(),
                                       Name(env, id).run(), ByteArray(env, certificate).run());
    });
}

void natives::importBlocks(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray first, jbyteArray second)
{
    run(env, call, [&](const Diagnostics& lines) {
        return jobs::importBlocks(sessionOf(module, session, lines), ByteArray(env, first).run(),
                                  ByteArray(env, second).run());
    });
}

void natives::generateRsaKeyPair(JNIEnv* env, jobject call, jlong module, jlong session, jlong modulusBits,
                                 jbyteArray label, jbyteArray id)
{
    run(env, call, [&](const Diagnostics& lines) {
        return jobs::generateRsaKeyPair(sessionOf(module, session, lines), static_cast<CK_ULONG>(modulusBits),
                                        Name(env, label).text(), Name(env, id).run());
    });
}

void natives::generateGostKeyPair(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray label,
                                  jbyteArray id)
{
    run(env, call, [&](const Diagnostics& lines) {
        return jobs::generateGostKeyPair(sessionOf(module, session, lines), Name(env, label).text(),
                                         Name(env, id).run());
    });
}
