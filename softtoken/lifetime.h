// SPDX-License-Identifier: Apache-2.0
// When calls reach SoftHSM2: one at a time, none once the process has begun to end, and in a forked child none before
// that child has initialised the module itself.
#pragma once

#include <atomic>
#include <mutex>

namespace softtoken {

/// Held during every call.
inline std::mutex gate;

enum class Reach {
    full,
    afterInitialise, ///< a forked child: what SoftHSM2 holds is the parent's
    none,            ///< for good
};

inline std::atomic<Reach> reach{Reach::full};

/// To be called once SoftHSM2 and all it needs are loaded: at the end of a process the last to come are the first to
/// go.
void closeBeforeSoftHsmGoes();

} // namespace softtoken
