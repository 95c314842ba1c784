// SPDX-License-Identifier: Apache-2.0
// Which calls reach SoftHSM2: one at a time; none once the process has begun to end; in a forked child none before the
// child calls C_Initialize.
#pragma once

#include <atomic>
#include <mutex>

namespace softtoken {

/// Held during every call.
inline std::mutex gate;

enum class Reach {
    full,
    afterInitialise, ///< a forked child: what SoftHSM2 holds is the parent's
    none,            ///< never again: the process ends, or the fork caught another thread in a call
};

inline std::atomic<Reach> reach{Reach::full};

/// Registers an exit handler, which also runs when this module is unloaded. It lets no more calls reach SoftHSM2 and,
/// if none is in it, runs `finalise`. Call it once SoftHSM2 and all it needs are loaded: exit handlers run last
/// registered first, so this one then runs before theirs.
void closeBeforeSoftHsmGoes(void (*finalise)());

} // namespace softtoken
