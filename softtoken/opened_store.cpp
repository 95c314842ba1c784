// SPDX-License-Identifier: Apache-2.0
#include "softtoken/opened_store.h"

#include <pthread.h>

namespace softtoken {
namespace {

OpenedStore store; // NOLINT(cert-err58-cpp): an empty path allocates nothing

/// A lock is shared with a forked child, which would hold it on after its parent.
void closeInChild()
{
    store.lock.close();
}

} // namespace

void OpenedStore::hasRead()
{
    seenToken = lock.record.token;
    seenPins = lock.record.pins;
}

void OpenedStore::mustReadAgain()
{
    seenToken = ~lock.record.token;
}

OpenedStore& openedStore()
{
    [[maybe_unused]] static const int once = pthread_atfork(nullptr, nullptr, closeInChild);
    return store;
}

} // namespace softtoken
