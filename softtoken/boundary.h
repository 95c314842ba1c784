// Every call into the software token passes here: one at a time, and with no exception getting out.
//
// SoftHSM2 is no longer sound once several threads load, initialise, finalise and unload it at once, so one mutex
// stands before all functions, the vendor's included. Code behind it calls SoftHSM2's own list, never the token's.
#pragma once

#include "store.h"

#include <mutex>
#include <new>

namespace softtoken {

/// What ends a call early: the code that the caller gets.
struct Failure {
    CK_RV code;
};

inline void check(CK_RV rv)
{
    if (rv != CKR_OK)
        throw Failure{rv};
}

inline void require(bool condition, CK_RV code)
{
    check(condition ? CKR_OK : code);
}

inline std::mutex gate;

/// Runs `job` with SoftHSM2's function list behind the gate and turns whatever it throws into a code.
template <typename Job>
CK_RV atBoundary(Job job) noexcept
{
    try {
        const std::lock_guard lock(gate);
        job(store());
        return CKR_OK;
    } catch (const Failure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return CKR_HOST_MEMORY;
    } catch (...) {
        return CKR_GENERAL_ERROR;
    }
}

} // namespace softtoken
