// SPDX-License-Identifier: Apache-2.0
// The store that this process has open.
#pragma once

#include "softtoken/lock.h"
#include "softtoken/settings.h"

namespace softtoken {

/// From C_Initialize to C_Finalize.
struct OpenedStore {
    StoreLock lock;
    Settings settings;
    /// The record's numbers from when SoftHSM2 read tokens and PINs. It reads them once, when it is initialised.
    std::uint64_t seenToken = 0;
    std::uint64_t seenPins = 0;

    bool isOpen() const { return lock.isOpen(); }
    const std::filesystem::path& folder() const { return settings.folder; }
    bool knowsToken() const { return seenToken == lock.record.token; }
    bool knowsPins() const { return knowsToken() && seenPins == lock.record.pins; }
    void hasRead();
    void mustReadAgain();
};

OpenedStore& openedStore();

} // namespace softtoken
