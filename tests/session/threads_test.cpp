// SPDX-License-Identifier: Apache-2.0
// Natives on several threads, each with a session of its own.
#include "tests/session/scene.h"

#include <array>
#include <thread>

namespace {

using Bytes = Scene::Bytes;

/// Reads a certificate many times, in an environment of this thread's own. Opening and closing is part of each time.
void readOften(const BoundNatives& natives, jlong module, const Bytes& expected)
{
    StrictJniEnv java;
    const jobject call = java.call();
    for (int i = 0; i < 100; ++i) {
        const jlong session = natives.openSession(java.get(), call, module, 7);
        const jbyteArray value = natives.readCertificate(java.get(), call, module, session,
                                                         java.bytes({'a', 'l', 'i', 'c', 'e'}), java.bytes({0x01}));
        EXPECT_EQ(java.content(value), expected);
        natives.closeSession(java.get(), call, module, session);
        EXPECT_EQ(java.exception, "");
        java.resetReferences();
    }
}

TEST(Threads, DoNotDisturbOneAnother)
{
    Scene scene;
    scene.module.addSampleObjects();
    scene.open();
    const Bytes expected = *scripted::sampleObjects()[0].at(CKA_VALUE);
    std::array<std::thread, 8> threads;
    for (std::thread& thread : threads)
        thread = std::thread([&] { readOften(scene.natives, scene.loaded, expected); });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
