// SPDX-License-Identifier: Apache-2.0
// Natives: the token as a whole.
#include "session/native_call.h"
#include "session/natives.h"
#include "session/session_check.h"

namespace {

Outcome packTokenInfo(CK_FUNCTION_LIST_PTR functions, CK_SLOT_ID slotId, Bytes& output)
{
    CK_TOKEN_INFO info{};
    const Outcome outcome(functions->C_GetTokenInfo(slotId, &info), "C_GetTokenInfo");
    Packing packing(output);
    packing.padded(info.label);
    packing.padded(info.manufacturerID);
    packing.padded(info.model);
    packing.padded(info.serialNumber);
    packing.text(hexadecimal(info.flags));
    return outcome;
}

Outcome packListing(const Session& session, Bytes& output)
{
    std::vector<ObjectAttr> objects;
    const Outcome outcome = complete(session, jobs::listObjects(session, objects));
    Packing packing(output);
    for (const ObjectAttr& object : objects) {
        for (const std::string* field : {&object.type, &object.label, &object.id, &object.keyType})
            packing.text(*field);
    }
    return outcome;
}

/// Without the login the public objects alone would be destroyed.
Outcome destroyAllObjects(const Session& session)
{
    const Outcome before = checkSession(session);
    return before.code == CKR_OK ? complete(session, jobs::destroyObjects(session)) : before;
}

} // namespace

jbyteArray natives::tokenInfo(JNIEnv* env, jobject call, jlong module, jlong slot)
{
    return fetch(env, call, [&](const Diagnostics&, Bytes& output) {
        return packTokenInfo(moduleOf(module).functions(), static_cast<CK_SLOT_ID>(slot), output);
    });
}

void natives::initializeToken(JNIEnv* env, jobject call, jlong module, jlong slot, jbyteArray puk)
{
    run(env, call, [&](const Diagnostics& lines) {
        return jobs::initializeToken(moduleOf(module).functions(), static_cast<CK_SLOT_ID>(slot),
                                     ByteArray(env, puk).run(), lines);
    });
}

void natives::destroyObjects(JNIEnv* env, jobject call, jlong module, jlong session)
{
    run(env, call, [&](const Diagnostics& lines) { return destroyAllObjects(sessionOf(module, session, lines)); });
}

jbyteArray natives::listObjects(JNIEnv* env, jobject call, jlong module, jlong session)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        return packListing(sessionOf(module, session, lines), output);
    });
}
