// SPDX-License-Identifier: Apache-2.0
#include "softtoken/lifetime.h"

#include <pthread.h>

#include <cstdlib>

namespace softtoken {
namespace {

/// Fork is not held up, so it may catch a thread in the middle of a call. What that thread had in hand stays half-done
/// in the child, and its locks stay locked.
void enterChild()
{
    if (!gate.try_lock()) {
        reach = Reach::none;
        return;
    }
    gate.unlock();
    if (reach == Reach::full)
        reach = Reach::afterInitialise;
}

// Without memory for this, a child is what it was with SoftHSM2 alone.
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, enterChild);

void close()
{
    reach = Reach::none;
}

} // namespace

void closeBeforeSoftHsmGoes()
{
    (void)std::atexit(close); // without memory for this, the end is what it was with SoftHSM2 alone
}

} // namespace softtoken
