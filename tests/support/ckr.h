// Comparison of PKCS #11 codes that fails by name: "CKR_PIN_INCORRECT", not 160.
#pragma once

#include "tests/support/names.h"

#include <gtest/gtest.h>

namespace scripted {

inline testing::AssertionResult sameCode(const char* expectedText, const char* actualText, CK_RV expected, CK_RV actual)
{
    if (expected == actual)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << actualText << " is " << codeName(actual) << ", expected " << expectedText
                                       << ", which is " << codeName(expected);
}

} // namespace scripted

#define EXPECT_CKR(expected, actual) EXPECT_PRED_FORMAT2(scripted::sameCode, expected, actual)
#define ASSERT_CKR(expected, actual) ASSERT_PRED_FORMAT2(scripted::sameCode, expected, actual)
