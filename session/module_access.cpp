// SPDX-License-Identifier: Apache-2.0
// Natives: the module and its slots, sessions, the codes that guard the token, and the reader.
#include "p11/module.h"

#include "session/module.h"
#include "session/native_call.h"
#include "session/natives.h"
#include "session/pcsc_readers.h"
#include "session/vendor_functions.h"

#include <memory>

namespace {

/// Fetches the list of all slots. A reader may appear between the two calls, so the list is asked for again when it has
/// outgrown its buffer.
Outcome listSlots(CK_FUNCTION_LIST_PTR functions, std::vector<CK_SLOT_ID>& slots)
{
    CK_RV rv = CKR_BUFFER_TOO_SMALL;
    for (int attempt = 0; rv == CKR_BUFFER_TOO_SMALL && attempt < 5; ++attempt) {
        CK_ULONG count = 0;
        rv = functions->C_GetSlotList(CK_FALSE, nullptr, &count);
        slots.assign(rv == CKR_OK ? count : 0, 0);
        if (!slots.empty())
            rv = functions->C_GetSlotList(CK_FALSE, slots.data(), &count);
        if (count < slots.size())
            slots.resize(count);
    }
    return {rv, "C_GetSlotList"};
}

/// A token that did not answer has no texts.
void packToken(CK_RV code, const CK_TOKEN_INFO& token, Packing& packing)
{
    packing.number(code);
    if (code != CKR_OK) {
        for (int text = 0; text < 4; ++text)
            packing.text("");
        packing.number(0);
        return;
    }
    packing.padded(token.label);
    packing.padded(token.manufacturerID);
    packing.padded(token.model);
    packing.padded(token.serialNumber);
    packing.number(token.flags);
}

/// Describes every slot that answers and, where asked to, its token.
Outcome describeSlots(CK_FUNCTION_LIST_PTR functions, bool tokens, const Diagnostics& lines, Bytes& output)
{
    std::vector<CK_SLOT_ID> slots;
    const Outcome list = listSlots(functions, slots);
    if (list.code != CKR_OK)
        return list;
    Packing packing(output);
    for (const CK_SLOT_ID id : slots) {
        CK_SLOT_INFO slot{};
        const CK_RV rv = functions->C_GetSlotInfo(id, &slot);
        if (rv != CKR_OK) {
            diagnose(lines, "C_GetSlotInfo failed. Code: ", rv);
            continue;
        }
        CK_TOKEN_INFO token{};
        const bool asked = tokens && (slot.flags & CKF_TOKEN_PRESENT) != 0;
        const CK_RV tokenCode = asked ? functions->C_GetTokenInfo(id, &token) : CKR_TOKEN_NOT_PRESENT;
        packing.number(id);
        packing.padded(slot.slotDescription);
        packing.padded(slot.manufacturerID);
        packing.number(slot.flags);
        packToken(tokenCode, token, packing);
    }
    return list;
}

/// Readers as the caller knows them.
std::vector<PcscReader> readReaders(JNIEnv* env, jobjectArray names, jlongArray states)
{
    std::vector<PcscReader> readers;
    for (const Bytes& name : readByteArrays(env, names))
        readers.push_back({std::string(name.begin(), name.end()), 0, {}});
    std::vector<jlong> numbers(readers.size());
    env->GetLongArrayRegion(states, 0, static_cast<jsize>(numbers.size()), numbers.data());
    throwIfPending(env);
    for (std::size_t i = 0; i < readers.size(); ++i)
        readers[i].state = static_cast<DWORD>(numbers[i]);
    return readers;
}

} // namespace

jlong natives::load(JNIEnv* env, jobject call, jbyteArray path)
{
    std::unique_ptr<Module> module;
    run(env, call, [&](const Diagnostics& lines) { return Module::load(Name(env, path).cString(), lines, module); });
    return reinterpret_cast<jlong>(module.release());
}

jlong natives::functionList(JNIEnv*, jobject, jlong module)
{
    return reinterpret_cast<jlong>(moduleOf(module).functions());
}

jint natives::initialize(JNIEnv* env, jobject call, jlong module)
{
    Initialization initialization{};
    run(env, call, [&](const Diagnostics& lines) { return ::initialize(moduleOf(module), lines, initialization); });
    return static_cast<jint>(initialization);
}

void natives::finish(JNIEnv* env, jobject call, jlong module)
{
    run(env, call,
        [&](const Diagnostics&) { return Outcome(moduleOf(module).functions()->C_Finalize(nullptr), "C_Finalize"); });
}

void natives::unload(JNIEnv*, jobject, jlong module)
{
    const std::unique_ptr<Module> owner(&moduleOf(module));
}

jboolean natives::hasVendorFunctions(JNIEnv* env, jobject call, jlong module)
{
    bool found = false;
    run(env, call,
        [&](const Diagnostics& lines) { return findVendorFunctions(moduleOf(module).functions(), lines, found); });
    return found ? JNI_TRUE : JNI_FALSE;
}

jbyteArray natives::slots(JNIEnv* env, jobject call, jlong module, jboolean tokens)
{
    return fetch(env, call, [&](const Diagnostics& lines, Bytes& output) {
        return describeSlots(moduleOf(module).functions(), tokens == JNI_TRUE, lines, output);
    });
}

jlong natives::openSession(JNIEnv* env, jobject call, jlong module, jlong slot)
{
    CK_SESSION_HANDLE handle = CK_INVALID_HANDLE;
    run(env, call, [&](const Diagnostics&) {
        return ::openSession(moduleOf(module).functions(), static_cast<CK_SLOT_ID>(slot), handle);
    });
    return static_cast<jlong>(handle);
}

jboolean natives::login(JNIEnv* env, jobject call, jlong module, jlong session, jlong userType, jbyteArray pin)
{
    bool lookedAt = false;
    run(env, call, [&](const Diagnostics& lines) {
        ByteArray code(env, pin);
        Session opened = sessionOf(module, session, lines);
        Outcome outcome = logIn(opened, static_cast<CK_USER_TYPE>(userType), code.run().first, code.run().count);
        lookedAt = outcome.code == CKR_OK;
        if (!outcome.endsOperation())
            outcome.code = CKR_OK;
        return outcome;
    });
    return lookedAt ? JNI_TRUE : JNI_FALSE;
}

void natives::closeSession(JNIEnv* env, jobject call, jlong module, jlong session)
{
    run(env, call, [&](const Diagnostics& lines) {
        const Session opened = sessionOf(module, session, lines);
        return Outcome(opened.functions->C_CloseSession(opened.handle), "C_CloseSession");
    });
}

void natives::changePin(JNIEnv* env, jobject call, jlong module, jlong session, jbyteArray oldPin, jbyteArray newPin)
{
    run(env, call, [&](const Diagnostics& lines) {
        return jobs::changePin(sessionOf(module, session, lines), ByteArray(env, oldPin).run(),
                               ByteArray(env, newPin).run());
    });
}

void natives::resetReader(JNIEnv* env, jobject call, jbyteArray name)
{
    run(env, call, [&](const Diagnostics& lines) { return ::resetReader(Name(env, name).cString(), lines); });
}

jbyteArray natives::awaitReaderChange(JNIEnv* env, jobject call, jobjectArray names, jlongArray states, jlong timeout)
{
    return fetch(env, call, [&](const Diagnostics&, Bytes& output) {
        std::vector<PcscReader> now;
        const Outcome outcome = ::awaitReaderChange(readReaders(env, names, states), static_cast<DWORD>(timeout), now);
        Packing packing(output);
        for (const PcscReader& reader : now) {
            packing.text(reader.name);
            packing.number(reader.state);
            packing.bytes(reader.atr);
        }
        return outcome;
    });
}
