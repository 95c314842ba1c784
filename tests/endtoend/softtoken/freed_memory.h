// SPDX-License-Identifier: Apache-2.0
// What the process gives back to the heap: free() is replaced in freed_memory.cpp.
#pragma once

#include "tests/endtoend/tools.h"

namespace endtoend {

/// Keeps what stands in each block when it is given back, by C++ or by C, until told to stop. One at a time.
class FreedMemory {
public:
    FreedMemory();
    ~FreedMemory();
    FreedMemory(const FreedMemory&) = delete;
    FreedMemory& operator=(const FreedMemory&) = delete;

    /// Before the secret comes into the test's own hands.
    void stop();
    bool contains(const Bytes& secret) const;
};

} // namespace endtoend
