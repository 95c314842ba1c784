// SPDX-License-Identifier: Apache-2.0
// The boundary of the software token: one call at a time passes it, and no exception leaves.
//
// SoftHSM2 crashes when several threads load, initialise, finalise and unload it at once, and may leave the token's
// file empty. So one mutex guards all functions, the vendor functions included. Code that holds it calls SoftHSM2's own
// function list, never the token's, which would lock the mutex again.
#pragma once

#include "softtoken/error_queue.h"
#include "softtoken/failure.h"
#include "softtoken/lifetime.h"
#include "softtoken/store.h"

#include <new>

namespace softtoken {

/// Holds the gate, runs `job` with SoftHSM2's function list, and turns what it throws into a code. Refusals of
/// SoftHSM2's own functions are returned, not thrown: a listing meets one for every attribute that an object lacks.
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

/// Runs any function except C_Initialize.
template <typename Job>
CK_RV atBoundary(Job job) noexcept
{
    return reach == Reach::full ? behindGate(job) : CKR_CRYPTOKI_NOT_INITIALIZED;
}

/// Runs C_Initialize, with which a forked child starts anew.
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
