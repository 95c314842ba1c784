// SPDX-License-Identifier: Apache-2.0
// OpenSSL's error queue, which this module shares with its caller.
#pragma once

#include <openssl/err.h>

namespace softtoken {

/// Restores the thread's queue at the end of its scope. A caller that uses OpenSSL too would take our entries for
/// failures of its own.
class ErrorQueueKeeper {
public:
    ErrorQueueKeeper() { (void)ERR_set_mark(); }     // fails on an empty queue, which needs no mark
    ~ErrorQueueKeeper() { (void)ERR_pop_to_mark(); } // without a mark clears the queue, which was empty
    ErrorQueueKeeper(const ErrorQueueKeeper&) = delete;
    ErrorQueueKeeper& operator=(const ErrorQueueKeeper&) = delete;
};

} // namespace softtoken
