// SPDX-License-Identifier: Apache-2.0
// What the library writes when there is no memory for it.
#include "p11/P11Wrapper.h"
#include "tests/support/captured_output.h"
#include "tests/support/watched_heap.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

TEST(ExhaustedMemory, LeavesNoPartOfALine)
{
    const std::string nowhere = "/" + std::string(1 << 20, 'x');
    bool thrown = false;
    scripted::CapturedOutput output;
    try {
        const AllocationLimit limit(1 << 19);
        const P11Wrapper token(nowhere.c_str());
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    output.release();
    EXPECT_TRUE(thrown);
    EXPECT_EQ(output.out().size(), 0);
}

} // namespace
