// SPDX-License-Identifier: Apache-2.0
// Judging PKCS #7 signatures.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

using namespace scripted;

namespace {

TEST(Pkcs7Verification, EndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer first = "same";
        Buffer second = "same";
        return {token.pkcs7Verify(first.data(), first.size(), second.data(), second.size())};
    };
    operation.steps = {Step("C_TOVR_pkcs7Verify(first \"same\" [4], second \"same\" [4])")};
    sweep(operation);
}

using Pkcs7VerificationTest = WrapperTest;

TEST_F(Pkcs7VerificationTest, InputsKeepTheirOrderAndTheVerdictIsSilent)
{
    Buffer first = "message";
    Buffer second = Bytes{0x00, 0xff};
    EXPECT_EQ(story([&] { rv = token.pkcs7Verify(first.data(), first.size(), second.data(), second.size()); }),
              "C_TOVR_pkcs7Verify(first \"message\" [7], second 00ff [2]): CKR_SIGNATURE_INVALID\n");
    EXPECT_CKR(rv, CKR_SIGNATURE_INVALID);
}

TEST_F(Pkcs7VerificationTest, EmptyInputsReachTheModuleAsNull)
{
    EXPECT_EQ(story([&] { rv = token.pkcs7Verify(nullptr, 0, nullptr, 0); }),
              "C_TOVR_pkcs7Verify(first null [0], second null [0]): CKR_OK\n");
    EXPECT_CKR(rv, CKR_OK);
}

} // namespace
