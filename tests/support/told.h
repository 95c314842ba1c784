// SPDX-License-Identifier: Apache-2.0
// The story of one job: the calls it made and the lines it wrote, in order.
#pragma once

#include "tests/support/captured_output.h"
#include "tests/support/transcript.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace scripted {

/// What `job` called and wrote, as Transcript::story tells it. The transcript is empty afterwards. Any output on
/// standard error fails the test.
template <class Job>
std::string storyOf(Transcript& transcript, Job&& job)
{
    CapturedOutput output;
    std::forward<Job>(job)();
    output.release();
    EXPECT_EQ(output.err(), "") << "on standard error";
    const std::string story = transcript.story(output.out());
    transcript.clear();
    return story;
}

} // namespace scripted
