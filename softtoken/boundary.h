// SPDX-License-Identifier: Apache-2.0
// Every call into the software token passes here: one at a time, and with no exception getting out.
//
// SoftHSM2 crashes when several threads load, initialise, finalise and unload it at once, and may leave the token's
// file empty. So one mutex stands before all functions, the vendor's included. Code behind it calls SoftHSM2's own
// list, never the token's.
#pragma once

#include "softtoken/error_queue.h"
#include "softtoken/failure.h"
#include "softtoken/lifetime.h"
#include "softtoken/store.h"

#include <new>

namespace softtoken {

/// Runs `job` with SoftHSM2's function list behind the gate and turns whatever it throws into a code. SoftHSM2's own
/// refusals are returned, not thrown: a listing meets one for every attribute that an object lacks.
template <typename Job>
CK_RV behindGate(Job job) noexcept
{
    try {
        const std::lock_guard lock(gate);
        const ErrorQueueKeeper keeper;
        return job(softHsm());
    } catch (const Failure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return CKR_HOST_MEMORY;
    } catch (...) {
        return CKR_GENERAL_ERROR;
    }
}

/// Every function but C_Initialize.
template <typename Job>
CK_RV atBoundary(Job job) noexcept
{
    return reach == Reach::full ? behindGate(job) : CKR_CRYPTOKI_NOT_INITIALIZED;
}

/// C_Initialize, by which a forked child begins anew.
template <typename Job>
CK_RV atInitialisation(Job job) noexcept
{
    if (reach == Reach::none)
        return CKR_GENERAL_ERROR;
    return behindGate([&](const CK_FUNCTION_LIST& softHsm) {
        if (reach == Reach::afterInitialise) {
            (void)softHsm.C_Finalize(nullptr); // the parent's, if it had initialised the module
            reach = Reach::full;
        }
        return job(softHsm);
    });
}

} // namespace softtoken
