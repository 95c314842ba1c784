// Every call into the software token passes here: one at a time, and with no exception getting out.
//
// SoftHSM2 crashes when several threads load, initialise, finalise and unload it at once, and may leave the token's
// file empty. So one mutex stands before all functions, the vendor's included. Code behind it calls SoftHSM2's own
// list, never the token's.
#pragma once

#include "softtoken/failure.h"
#include "softtoken/store.h"

#include <mutex>
#include <new>

namespace softtoken {

inline std::mutex gate;

/// Runs `job` with SoftHSM2's function list behind the gate and turns whatever it throws into a code. SoftHSM2's own
/// refusals are returned, not thrown: a listing meets one for every attribute that an object lacks.
template <typename Job>
CK_RV atBoundary(Job job) noexcept
{
    try {
        const std::lock_guard lock(gate);
        return job(softHsm());
    } catch (const Failure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return CKR_HOST_MEMORY;
    } catch (...) {
        return CKR_GENERAL_ERROR;
    }
}

} // namespace softtoken
