// SPDX-License-Identifier: Apache-2.0
// What the jars tell GraalVM's native-image, compared with what the native methods look up.
#include "tests/jni/native_calls.h"
#include "tests/jni/native_image.h"
#include "tests/jni/native_method_test.h"

namespace {

class NativeImage : public NativeMethodTest {};

TEST_F(NativeImage, IsToldOfAllThatTheNativeMethodsLookUpAndOfNothingElse)
{
    std::string stories;
    for (const NativeCall& native : allNativeCalls()) {
        module.token = {};
        module.token.soPin = module.token.userPin;
        module.objects.clear();
        module.nextSession = 41;
        module.nextObject = 101;
        module.addSampleObjects();
        ASSERT_EQ(run(native.prepare(jni, {terminalName, modulePath, userPin, {'2', '4', '6', '8'}}).run), 0)
            << native.name;
        stories += story;
    }
    EXPECT_EQ(native_image::declaredFor("VornixToken_Javalib"),
              native_image::configurationOf(native_image::lookUpsOf(stories)));
}

} // namespace
