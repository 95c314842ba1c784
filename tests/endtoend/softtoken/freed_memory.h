// SPDX-License-Identifier: Apache-2.0
// The contents of memory that the process frees. freed_memory.cpp replaces free().
#pragma once

#include "tests/endtoend/tools.h"

namespace endtoend {

/// Keeps the contents of each block that C or C++ frees, until told to stop. One at a time.
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
