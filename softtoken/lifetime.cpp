// SPDX-License-Identifier: Apache-2.0
#include "softtoken/lifetime.h"

#include <pthread.h>

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

/// A static object, whose destructor belongs to this module and runs when the module is unloaded at the latest.
/// ThreadSanitizer would call a function given to std::atexit after that.
class Closer {
public:
    explicit Closer(void (*finalise)()) : finalise_(finalise) {}
    ~Closer()
    {
        const Reach reached = reach.exchange(Reach::none);
        // When a process ends, another thread may be in the middle of a call.
        if (const std::unique_lock lock(gate, std::try_to_lock); lock && reached != Reach::none)
            finalise_();
    }
    Closer(const Closer&) = delete;
    Closer& operator=(const Closer&) = delete;

private:
    void (*const finalise_)();
};

} // namespace

void closeBeforeSoftHsmGoes(void (*finalise)())
{
    [[maybe_unused]] static const Closer closer(finalise);
}

} // namespace softtoken
