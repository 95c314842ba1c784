// SPDX-License-Identifier: Apache-2.0
// The PC/SC service's readers and the cards in them. Needs no module.
#pragma once

#include "jni/secret_bytes.h"
#include "p11/outcome.h"

#include <winscard.h>

#include <string>
#include <vector>

/// A reader as the service describes it.
struct PcscReader {
    std::string name;
    DWORD state; ///< SCARD_STATE_PRESENT and the like, with the service's count of events in the upper 16 bits
    Bytes atr;   ///< the card's answer to reset; empty without a card
};

/// Waits until a reader comes or goes, or a card does, or until the timeout (in milliseconds) ends. `known` is what the
/// caller knows; where that is not true any longer, there is no wait. Fills `now` in either case.
Outcome awaitReaderChange(const std::vector<PcscReader>& known, DWORD timeout, std::vector<PcscReader>& now);
