// SPDX-License-Identifier: Apache-2.0
// OpenSSL's error queue, which this module shares with its caller.
#pragma once

#include <openssl/err.h>

namespace softtoken {

/// Leaves the thread's queue as it was at the end of its scope: a caller who uses OpenSSL too takes what lies there for
/// a failure of his own.
class ErrorQueueKeeper {
public:
    ErrorQueueKeeper() { (void)ERR_set_mark(); }     // an empty queue takes none, and needs none
    ~ErrorQueueKeeper() { (void)ERR_pop_to_mark(); } // without a mark the queue was empty
    ErrorQueueKeeper(const ErrorQueueKeeper&) = delete;
    ErrorQueueKeeper& operator=(const ErrorQueueKeeper&) = delete;
};

} // namespace softtoken
