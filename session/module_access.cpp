// SPDX-License-Identifier: Apache-2.0
// Natives: the module and its slots, sessions, the codes that guard the token, and the reader.
#include "p11/module.h"

#include "p11/pcsc_context.h"
#include "session/module.h"
#include "session/native_call.h"
#include "session/natives.h"
#include "session/vendor_functions.h"

#include <array>
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

void packToken(CK_RV code, const CK_TOKEN_INFO& token, Packing& packing)
{
    packing.number(code);
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
        packToken(tokenCode, tokenCode == CKR_OK ? token : CK_TOKEN_INFO{}, packing);
    }
    return list;
}

/// The names of the PC/SC service's readers, which stand one behind the other, each with its NUL, in `names`.
Outcome listPcscReaders(std::vector<char>& names)
{
    const PcscContext context;
    if (context.result() != SCARD_S_SUCCESS)
        return {static_cast<CK_RV>(context.result()), "SCardEstablishContext"};
    DWORD length = 0;
    LONG result = SCardListReaders(context.handle(), nullptr, nullptr, &length);
    if (result == SCARD_S_SUCCESS) {
        names.resize(length);
        result = SCardListReaders(context.handle(), nullptr, names.data(), &length);
    }
    names.resize(result == SCARD_S_SUCCESS ? length : 0);
    const bool none = result == SCARD_E_NO_READERS_AVAILABLE;
    return {none ? CKR_OK : static_cast<CK_RV>(result), "SCardListReaders"};
}

} // namespace

jlong natives::load(JNIEnv* env, jobject call, jbyteArray path)
{
    std::unique_ptr<Module> module;
    run(env, call,
        [&](const Diagnostics& lines) { return Module::load(ByteArray(env, path).cString(), lines, module); });
    return reinterpret_cast<jlong>(module.release());
}

jlong natives::functionList(JNIEnv*, jobject, jlong module)
{
    return reinterpret_cast<jlong>(moduleOf(module).functions());
}

jint natives::initialize(JNIEnv* env, jobject call, jlong module)
{
    Initialization initialization{};
    run(env, call, [&](const Diagnostics& lines) { return initialize(moduleOf(module), lines, initialization); });
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

jboolean natives::hasVendorFunctions(JNIEnv*, jobject, jlong module)
{
    return hasVendorFunctions(moduleOf(module).functions()) ? JNI_TRUE : JNI_FALSE;
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
        return openSession(moduleOf(module).functions(), static_cast<CK_SLOT_ID>(slot), handle);
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
    run(env, call, [&](const Diagnostics& lines) { return resetReader(ByteArray(env, name).cString(), lines); });
}

jbyteArray natives::pcscReaders(JNIEnv* env, jobject call)
{
    return fetch(env, call, [&](const Diagnostics&, Bytes& output) {
        std::vector<char> names;
        const Outcome outcome = listPcscReaders(names);
        Packing packing(output);
        const char* const end = names.data() + names.size();
        for (const char* name = names.data(); name != end && *name != '\0'; name += std::string_view(name).size() + 1)
            packing.text(name);
        return outcome;
    });
}
