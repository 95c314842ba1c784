// SPDX-License-Identifier: Apache-2.0
// Comparison of PKCS #11 codes that fails by name: "CKR_PIN_INCORRECT", not 160.
#pragma once

#include "tests/support/names.h"

#include <gtest/gtest.h>

namespace scripted {

[[nodiscard]] inline testing::AssertionResult sameCode(const char* actualText, const char* expectedText, CK_RV actual,
                                                       CK_RV expected)
{
    if (actual == expected)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << actualText << " is " << codeName(actual) << ", expected " << expectedText
                                       << ", which is " << codeName(expected);
}

} // namespace scripted

#define EXPECT_CKR(actual, expected) EXPECT_PRED_FORMAT2(scripted::sameCode, actual, expected)
#define ASSERT_CKR(actual, expected) ASSERT_PRED_FORMAT2(scripted::sameCode, actual, expected)
