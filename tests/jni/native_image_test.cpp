// SPDX-License-Identifier: Apache-2.0
// What the jars tell GraalVM's native-image, compared with what the native methods look up.
#include "tests/jni/native_calls.h"
#include "tests/jni/native_method_test.h"
#include "tests/support/native_image.h"

#include <regex>

namespace {

native_image::LookUps lookUpsOf(const std::string& story)
{
    static const std::regex method(R"(GetMethodID\(([^,]*), ([^,]*), (\([^)]*\)[^)]*)\))");
    static const std::regex thrown(R"(ThrowNew\(([^,]*),)");
    native_image::LookUps found;
    for (std::sregex_iterator at(story.begin(), story.end(), method), end; at != end; ++at)
        found[(*at)[1]].emplace((*at)[2], (*at)[3]);
    for (std::sregex_iterator at(story.begin(), story.end(), thrown), end; at != end; ++at)
        found[(*at)[1]].insert(native_image::thrownConstructor);
    return found;
}

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
    EXPECT_EQ(native_image::declaredFor("VornixToken_Javalib"), native_image::configurationOf(lookUpsOf(stories)));
}

} // namespace
