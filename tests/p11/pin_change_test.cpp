// SPDX-License-Identifier: Apache-2.0
// Changing the user PIN and the security officer's PIN.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

using namespace scripted;
using namespace stories;

namespace {

TEST(PinChange, OfTheUserPinEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer oldPin = "12345678";
        Buffer newPin = "new pin";
        return {token.SetPin(slotId, oldPin.data(), oldPin.size(), newPin.data(), newPin.size())};
    };
    operation.steps =
        inSession({Step("C_SetPIN(session 41, old \"12345678\" [8], new \"new pin\" [7])").onFailure(closed)});
    sweep(operation);
}

TEST(PinChange, OfTheSecurityOfficersPinEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer oldPuk = "87654321";
        Buffer newPuk = "new puk";
        return {token.SetPuk(slotId, oldPuk.data(), oldPuk.size(), newPuk.data(), newPuk.size())};
    };
    operation.steps = {openSession, logIn("CKU_SO, PIN \"87654321\" [8]"),
                       Step("C_SetPIN(session 41, old \"87654321\" [8], new \"new puk\" [7])").onFailure(closed),
                       closeSession};
    sweep(operation);
}

using PinChangeTest = WrapperTest;

TEST_F(PinChangeTest, WrongOldPinIsReportedAfterTheSessionWasClosed)
{
    Buffer wrong = "0000";
    EXPECT_EQ(story([&] { rv = token.SetPin(slotId, wrong.data(), wrong.size(), pin.data(), pin.size()); }),
              loginRefused("CKU_USER, PIN \"0000\" [4]", CKR_PIN_INCORRECT));
    EXPECT_CKR(rv, CKR_PIN_INCORRECT);
    EXPECT_EQ(module.token.userPin, "12345678");
}

TEST_F(PinChangeTest, UserPinIsNoPuk)
{
    EXPECT_EQ(story([&] { rv = token.SetPuk(slotId, pin.data(), pin.size(), pin.data(), pin.size()); }),
              loginRefused("CKU_SO, PIN \"12345678\" [8]", CKR_PIN_INCORRECT));
    EXPECT_CKR(rv, CKR_PIN_INCORRECT);
}

TEST_F(PinChangeTest, EmptyPinsReachTheModuleAsNull)
{
    module.token.userPin = "";
    EXPECT_EQ(story([&] { rv = token.SetPin(slotId, nullptr, 0, nullptr, 0); }),
              opened + login("CKU_USER, PIN null [0]") + "C_SetPIN(session 41, old null [0], new null [0]): CKR_OK\n" +
                  closed);
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(PinChangeTest, PinsAreBytesOfAnyValue)
{
    Buffer newPin = Bytes{0x00, 0xff, 0x0a};
    EXPECT_EQ(story([&] { rv = token.SetPin(slotId, pin.data(), pin.size(), newPin.data(), newPin.size()); }),
              inSession("C_SetPIN(session 41, old \"12345678\" [8], new 00ff0a [3]): CKR_OK\n"));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(bytesOf(module.token.userPin), newPin.bytes);
}

TEST_F(PinChangeTest, SlotIsPassedOnUnchanged)
{
    EXPECT_EQ(story([&] { rv = token.SetPin(widestCode, pin.data(), pin.size(), pin.data(), pin.size()); }),
              "C_OpenSession(slot 18446744073709551615, flags 0x6, application null, notify null): "
              "CKR_SLOT_ID_INVALID\n");
    EXPECT_CKR(rv, CKR_SLOT_ID_INVALID);
}

TEST_F(PinChangeTest, NeitherPinIsWritten)
{
    Buffer newPin = "new pin";
    CapturedOutput output;
    module.C_SetPIN = answering(CKR_PIN_LEN_RANGE);
    rv = token.SetPin(slotId, pin.data(), pin.size(), newPin.data(), newPin.size());
    output.release();
    EXPECT_EQ(output.out(), "");
    EXPECT_CKR(rv, CKR_PIN_LEN_RANGE);
}

} // namespace
