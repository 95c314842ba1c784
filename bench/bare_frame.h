// SPDX-License-Identifier: Apache-2.0
// The frame of the bare sequences, in plain C style: what a whole call does around its job. The codes of all steps are
// combined: 0 means that every step succeeded.
#pragma once

#include "bench/calls.h"
#include "include/tovr_pkcs11.h"

#include <dlfcn.h>

#include <cstdlib>

using Functions = CK_TOVR_FUNCTION_LIST_PTR;
using Job = CK_RV (*)(Functions list, CK_SLOT_ID slot, Inputs& in);
using SessionJob = CK_RV (*)(Functions list, CK_SESSION_HANDLE session, Inputs& in);

/// Loads, initialises and probes the module; does the job; finalises and unloads.
template <Job job>
CK_RV withModule(Inputs& in)
{
    void* module = dlopen(in.module.c_str(), RTLD_NOW);
    if (!module)
        return CKR_GENERAL_ERROR;
    const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(module, "C_GetFunctionList"));
    CK_FUNCTION_LIST_PTR list = nullptr;
    CK_RV rv = getFunctionList(&list);
    rv |= list->C_Initialize(nullptr);
    CK_ULONG count = 0;
    rv |= list->C_GetSlotList(CK_FALSE, nullptr, &count);
    rv |= job(extendedList(list), 0, in);
    rv |= list->C_Finalize(nullptr);
    (void)dlclose(module); // at worst it stays
    return rv;
}

/// Whether a blank-padded field and the name agree up to the end of the shorter one.
inline bool matches(const CK_UTF8CHAR* field, size_t width, const char* name)
{
    size_t i = 0;
    while (i < width && name[i] != 0 && field[i] == static_cast<CK_UTF8CHAR>(name[i]))
        ++i;
    if (name[i] == 0)
        return true;
    while (i < width && field[i] == ' ')
        ++i;
    return i == width;
}

/// Asks for every slot and takes the last one whose reader has the name.
inline CK_RV findSlot(Functions list, const char* reader, CK_SLOT_ID* slot)
{
    CK_SLOT_INFO info;
    CK_ULONG count = 0;
    CK_RV rv = list->standard.C_GetSlotList(CK_FALSE, nullptr, &count);
    auto* slots = static_cast<CK_SLOT_ID*>(malloc(count * sizeof(CK_SLOT_ID)));
    rv |= list->standard.C_GetSlotList(CK_FALSE, slots, &count);
    for (CK_ULONG i = 0; i < count; ++i) {
        rv |= list->standard.C_GetSlotInfo(slots[i], &info);
        if (matches(info.manufacturerID, sizeof info.manufacturerID, reader) ||
            matches(info.slotDescription, sizeof info.slotDescription, reader))
            *slot = slots[i];
    }
    free(slots);
    return rv;
}

template <Job job>
CK_RV onSlot(Functions list, CK_SLOT_ID slot, Inputs& in)
{
    CK_RV rv = findSlot(list, in.reader.c_str(), &slot);
    rv |= job(list, slot, in);
    return rv;
}

template <SessionJob job, CK_USER_TYPE user>
CK_RV inSession(Functions list, CK_SLOT_ID slot, Inputs& in)
{
    CK_SESSION_HANDLE session = 0;
    Bytes& pin = user == CKU_SO ? in.soPin : in.userPin;
    CK_RV rv = list->standard.C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session);
    rv |= list->standard.C_Login(session, user, pin.data(), pin.size());
    rv |= job(list, session, in);
    rv |= list->standard.C_CloseSession(session);
    return rv;
}

template <Job job>
CK_RV onToken(Inputs& in)
{
    return withModule<onSlot<job>>(in);
}

template <SessionJob job>
CK_RV asUser(Inputs& in)
{
    return onToken<inSession<job, CKU_USER>>(in);
}
