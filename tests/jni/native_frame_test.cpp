// SPDX-License-Identifier: Apache-2.0
// What all native methods of Pkcs11Wrapper do alike, whatever their own job.
#include "tests/jni/native_calls.h"
#include "tests/jni/native_method_test.h"
#include "tests/support/watched_heap.h"

#include <new>
#include <stdexcept>

namespace {

using namespace stories;
using scripted::answering;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class NativeFrame : public NativeMethodTest, public testing::WithParamInterface<NativeCall> {
protected:
    NativeFrame() { restore(); }

    /// Puts the token back into the state in which every native method succeeds.
    void restore()
    {
        module.token = {};
        module.token.soPin = module.token.userPin;
        module.objects.clear();
        module.nextSession = 41;
        module.nextObject = 101;
        module.addSampleObjects();
    }

    PreparedCall prepare()
    {
        return GetParam().prepare(jni, {terminalName, modulePath, userPin, {'2', '4', '6', '8'}});
    }

    /// The result of a call that fails; its outputs must stay as they are.
    jlong failingCall()
    {
        const PreparedCall call = prepare();
        const auto before = contents(call.outputs);
        const jlong result = run(call.run);
        EXPECT_EQ(contents(call.outputs), before);
        EXPECT_THAT(story, StartsWith(call.conversions));
        return result;
    }

    /// Calls of the module before the operation's own, C_GetFunctionList apart.
    unsigned long frameCalls() const { return GetParam().looksUpSlot ? 5 : 2; }
};

class NativeFrameWithSlot : public NativeFrame {};

INSTANTIATE_TEST_SUITE_P(Every, NativeFrame, testing::ValuesIn(allNativeCalls()), nameOf);
INSTANTIATE_TEST_SUITE_P(Every, NativeFrameWithSlot, testing::ValuesIn(nativeCallsWithSlot()), nameOf);

TEST_P(NativeFrame, ConvertsItsArgumentsThenLoadsThenUnloadsTheModule)
{
    const PreparedCall call = prepare();
    EXPECT_EQ(run(call.run), 0);
    EXPECT_THAT(story, StartsWith(call.conversions + loaded + (GetParam().looksUpSlot ? slotFound : "")));
    EXPECT_THAT(story, EndsWith(unloaded));
    EXPECT_THAT(printed(), IsEmpty());
}

TEST_P(NativeFrame, KeepsNothingFromOneCallToTheNext)
{
    EXPECT_EQ(run(prepare().run), 0);
    const std::string first = story;
    restore();
    EXPECT_EQ(run(prepare().run), 0);
    EXPECT_EQ(story, first);
}

TEST_P(NativeFrame, ReturnsOneForAFileThatIsNotThere)
{
    modulePath = jni.string("modulePath", "/no/such/module.so");
    EXPECT_EQ(failingCall(), 1);
    EXPECT_THAT(printed(), ElementsAre(StartsWith("Error while load /no/such/module.so: "), "Library not loaded",
                                       "Failed to Initialize P11Wrapper"));
}

TEST_P(NativeFrame, ReturnsOneForALibraryThatIsNoModule)
{
    modulePath = jni.string("modulePath", scripted::notAModuleFile);
    EXPECT_EQ(failingCall(), 1);
    EXPECT_THAT(printed(), ElementsAre("Can't get C_GetFunctionList symbol", "Failed to Initialize P11Wrapper"));
}

TEST_P(NativeFrame, ReturnsOneForAModuleWithoutAFunctionList)
{
    modulePath = jni.string("modulePath", scripted::nullListModuleFile);
    EXPECT_EQ(failingCall(), 1);
    EXPECT_THAT(printed(), ElementsAre("C_GetFunctionList error", "Failed to Initialize P11Wrapper"));
}

TEST_P(NativeFrame, ReturnsOneForAModuleThatCannotBeInitialised)
{
    module.C_Initialize = answering(CKR_DEVICE_ERROR);
    EXPECT_EQ(failingCall(), 1);
    EXPECT_THAT(printed(), ElementsAre("C_Initialize error. Code: 48", "Failed to Initialize P11Wrapper"));
    EXPECT_THAT(story, Not(HasSubstr("C_Finalize")));
    EXPECT_THAT(story, EndsWith("module unloaded\n"));
}

TEST_P(NativeFrame, LeavesAModuleInitialisedThatFailsItsProbe)
{
    module.C_GetSlotList = answering(CKR_DEVICE_ERROR);
    EXPECT_EQ(failingCall(), 1);
    EXPECT_THAT(printed(), ElementsAre("C_GetSlotList failed. Code: 48", "Failed to Initialize P11Wrapper"));
    EXPECT_THAT(story, Not(HasSubstr("C_Finalize")));
    EXPECT_THAT(story, EndsWith("module unloaded\n"));
}

TEST_P(NativeFrame, AcceptsAModuleThatIsInitialisedAlready)
{
    module.C_Initialize = [initialize = module.C_Initialize](void* arguments) {
        initialize(arguments);
        return CKR_CRYPTOKI_ALREADY_INITIALIZED;
    };
    EXPECT_EQ(run(prepare().run), 0);
    EXPECT_THAT(story, HasSubstr("C_Initialize(null): CKR_CRYPTOKI_ALREADY_INITIALIZED\n"));
    EXPECT_THAT(story, EndsWith(unloaded));
    EXPECT_THAT(printed(), IsEmpty());
}

TEST_P(NativeFrame, ReturnsAllBitsOfTheOperationsCode)
{
    constexpr CK_RV strange = 0xfedcba9876543210;
    module.failCall(frameCalls() + 1, strange);
    EXPECT_EQ(failingCall(), code(strange));
    EXPECT_THAT(story, EndsWith(unloaded));
}

TEST_P(NativeFrame, TouchesItsOutputsOnlyOnSuccessWhicheverCallFails)
{
    ASSERT_EQ(run(prepare().run), 0);
    const unsigned long calls = module.callCount();
    ASSERT_GT(calls, frameCalls());
    for (unsigned long n = 1; n <= calls; ++n) {
        SCOPED_TRACE("module call " + std::to_string(n) + " fails");
        restore();
        module.failCall(n, CKR_DEVICE_ERROR);
        const PreparedCall call = prepare();
        const auto before = contents(call.outputs);
        if (run(call.run) != 0) {
            EXPECT_EQ(contents(call.outputs), before);
        }
        EXPECT_THAT(story, EndsWith("module unloaded\n"));
        EXPECT_THAT(story, HasSubstr("CKR_DEVICE_ERROR"));
    }
}

TEST_P(NativeFrame, GivesCharactersBackWhenTheirCopyCannotBeHad)
{
    const PreparedCall call =
        GetParam().prepare(jni, {terminalName, jni.string("modulePath", std::string(1 << 20, 'x')), userPin, userPin});
    const AllocationLimit limit(1 << 19);
    EXPECT_THROW(run(call.run), std::bad_alloc);
    EXPECT_THAT(story, Not(HasSubstr("module loaded")));
    EXPECT_THAT(story, EndsWith(read("modulePath")));
}

TEST_P(NativeFrameWithSlot, ReturnsSixForAReaderThatIsNotThere)
{
    terminalName = jni.string("terminalName", "Another Reader");
    EXPECT_EQ(failingCall(), 6);
    EXPECT_EQ(story, prepare().conversions + loaded + slotFound + "| Terminal not found\n" + unloaded);
}

TEST_P(NativeFrameWithSlot, ReturnsTheLookupsCodeAndDoesNoJob)
{
    module.slots.push_back(scripted::unreadable({8, "Other Reader", "Other Works"}, CKR_DEVICE_REMOVED));
    EXPECT_EQ(failingCall(), code(CKR_DEVICE_REMOVED));
    EXPECT_THAT(printed(), ElementsAre("C_GetSlotInfo failed. Code: 50"));
    EXPECT_THAT(story, EndsWith("C_GetSlotInfo(slot 8): CKR_DEVICE_REMOVED\n"
                                "| C_GetSlotInfo failed. Code: 50\n" +
                                unloaded));
}

TEST_P(NativeFrameWithSlot, TurnsToSlotZeroWhenTheModuleHasNone)
{
    module.slots.clear();
    EXPECT_EQ(failingCall(), code(CKR_SLOT_ID_INVALID));
    EXPECT_THAT(printed().front(), "C_GetSlotList failed. Code: 0");
    EXPECT_THAT(story, HasSubstr("(slot 0"));
}

TEST_P(NativeFrameWithSlot, UnloadsTheModuleWhenMemoryRunsOut)
{
    module.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID*, CK_ULONG* count) {
        *count = ~CK_ULONG{0} / sizeof(CK_SLOT_ID);
        return CKR_OK;
    };
    const PreparedCall call = prepare();
    const auto before = contents(call.outputs);
    EXPECT_THROW(run(call.run), std::length_error);
    EXPECT_EQ(contents(call.outputs), before);
    EXPECT_THAT(story, EndsWith(unloaded));
}

} // namespace
