// SPDX-License-Identifier: Apache-2.0
// What the jars tell GraalVM's native-image of the library, compared with what the natives look up.
#include "tests/session/session_calls.h"
#include "tests/support/native_image.h"
#include "tests/support/watched_heap.h"

namespace {

enum class Fate { succeeds, isRefused, lacksMemory };

native_image::LookUps lookUpsOf(const SessionCall& native, Fate fate)
{
    Scene scene;
    prepare(scene, native);
    if (fate == Fate::isRefused)
        scene.module.failCall(1, CKR_DEVICE_ERROR);
    std::optional<FailingAllocation> failing;
    if (fate == Fate::lacksMemory)
        failing.emplace("libvornixtoken_session", 1);
    native.run(scene, scripted::bytesOf(scene.module.token.userPin), scripted::bytesOf("another"));
    return scene.java.lookUps;
}

TEST(NativeImage, IsToldOfAllThatTheNativesLookUpAndOfNothingElse)
{
    native_image::LookUps found;
    for (const SessionCall& native : allSessionCalls())
        for (const Fate fate : {Fate::succeeds, Fate::isRefused, Fate::lacksMemory})
            for (const auto& [owner, methods] : lookUpsOf(native, fate))
                found[owner].insert(methods.begin(), methods.end());
    EXPECT_EQ(native_image::declaredFor("vornixtoken_session"), native_image::configurationOf(found));
}

} // namespace
