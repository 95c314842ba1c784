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

struct Closer {
    ~Closer() { reach = Reach::none; }
};

} // namespace

void closeBeforeSoftHsmGoes()
{
    static const Closer closer;
}

} // namespace softtoken
