// SPDX-License-Identifier: Apache-2.0
// The tests' own instruments: that they notice what they are there to notice.
#include "tests/support/ckr.h"
#include "tests/support/scripted_module.h"
#include "tests/support/scripted_pcsc.h"
#include "tests/support/told.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

using namespace scripted;

namespace {

class ScriptedModuleTest : public testing::Test {
protected:
    ScriptedModuleTest()
    {
        CK_FUNCTION_LIST_PTR standard = nullptr;
        EXPECT_CKR(deliverFunctionList(&standard), CKR_OK);
        list = reinterpret_cast<CK_TOVR_FUNCTION_LIST*>(standard);
        transcript.clear();
    }

    Transcript transcript;
    ScriptedModule module{transcript};
    CK_TOVR_FUNCTION_LIST* list = nullptr;
};

TEST_F(ScriptedModuleTest, EveryPositionOfTheListIsTaken)
{
    void* positions[sizeof *list / sizeof(void*)];
    std::memcpy(positions, list, sizeof positions);
    EXPECT_EQ(std::count(std::begin(positions), std::end(positions), nullptr), 0);
}

TEST_F(ScriptedModuleTest, FunctionThatTheLibraryMustNotCallFailsTheTest)
{
    EXPECT_NONFATAL_FAILURE(list->standard.C_Logout(41), "unexpected call: C_Logout");
    EXPECT_NONFATAL_FAILURE(list->standard.C_CloseAllSessions(7), "unexpected call: C_CloseAllSessions");
    EXPECT_NONFATAL_FAILURE(list->standard.C_GetInfo(nullptr), "unexpected call: C_GetInfo");
    EXPECT_NONFATAL_FAILURE(list->standard.C_WaitForSlotEvent(0, nullptr, nullptr), "unexpected call: C_WaitForSlot");
}

TEST_F(ScriptedModuleTest, ChosenCallAloneFailsAndIsNotCarriedOut)
{
    module.failCall(2, CKR_DEVICE_ERROR);
    EXPECT_EQ(list->standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(list->standard.C_Finalize(nullptr), CKR_DEVICE_ERROR);
    EXPECT_EQ(list->standard.C_Initialize(nullptr), CKR_CRYPTOKI_ALREADY_INITIALIZED);
    EXPECT_EQ(transcript.calls(), "C_Initialize(null): CKR_OK\n"
                                  "C_Finalize(null): CKR_DEVICE_ERROR\n"
                                  "C_Initialize(null): CKR_CRYPTOKI_ALREADY_INITIALIZED\n");
}

TEST(ScriptedModule, CallWithoutAModuleFailsTheTest)
{
    CK_FUNCTION_LIST_PTR list = nullptr;
    EXPECT_NONFATAL_FAILURE((void)deliverFunctionList(&list), "unexpected call: C_GetFunctionList");
}

TEST(ScriptedPcsc, CallWithoutAServiceFailsTheTest)
{
    EXPECT_NONFATAL_FAILURE(SCardReleaseContext(1), "unexpected call: SCardReleaseContext");
}

TEST(Story, TellsEachLineAtItsPlace)
{
    Transcript transcript;
    EXPECT_EQ(storyOf(transcript,
                      [&] {
                          std::cout << "before" << std::endl;
                          transcript.add("call");
                          std::cout << "between\nand again" << std::endl;
                          transcript.add("call");
                          std::cout << "after" << std::endl;
                      }),
              "| before\ncall\n| between\n| and again\ncall\n| after\n");
}

TEST(Story, MarksALineWithoutItsEnd)
{
    Transcript transcript;
    EXPECT_EQ(storyOf(transcript, [] { std::cout << "line" << std::flush; }), "|…line\n");
}

TEST(Story, TextThatStaysInABufferIsMissing)
{
    char buffer[BUFSIZ];
    Transcript transcript;
    std::FILE* late = nullptr;
    EXPECT_EQ(storyOf(transcript,
                      [&] {
                          late = fdopen(dup(STDOUT_FILENO), "w");
                          std::setvbuf(late, buffer, _IOFBF, sizeof buffer);
                          std::fputs("late\n", late);
                      }),
              "");
    std::fclose(late);
}

TEST(Story, WordOnStandardErrorFailsTheTest)
{
    static Transcript transcript;
    EXPECT_NONFATAL_FAILURE(storyOf(transcript, [] { std::cerr << "word" << std::endl; }), "on standard error");
}

TEST(ArgumentText, ShowsBytesLengthsAndNull)
{
    EXPECT_EQ(runText("text", 4), "\"text\" [4]");
    EXPECT_EQ(runText("\x00\xff", 2), "00ff [2]");
    EXPECT_EQ(runText("", 0), "\"\" [0]");
    EXPECT_EQ(runText(nullptr, 3), "null [3]");
    EXPECT_EQ(bufferText("\0\0", 2), "zeros [2]");
    EXPECT_EQ(bufferText("\0x", 2), "0078 [2]");
    EXPECT_EQ(bufferText(nullptr, 2), "null");
    EXPECT_EQ(codeName(CKR_PIN_INCORRECT), "CKR_PIN_INCORRECT");
    EXPECT_EQ(codeName(0xabcd), "0xabcd");
}

} // namespace
