// SPDX-License-Identifier: Apache-2.0
// What the natives do when memory runs out, in the library or in Java, and which PINs they leave in freed memory.
#include "tests/session/session_calls.h"
#include "tests/support/watched_heap.h"

namespace {

using Bytes = Scene::Bytes;

const char* const sessionLibrary = "libvornixtoken_session";

/// The PINs of prepare()'s token: unprintable, so that transcripts hold hexadecimal digits instead, and short, as
/// SecretWatch asks.
const std::vector<Bytes> secrets = {{0x91, 0x07, 0xe2, 0x7f, 0x80, 0x13, 0xc5, 0x04},
                                    {0xb3, 0x1c, 0x99, 0xf1, 0x0e, 0xd6}};

void prepareWithSecrets(Scene& scene, const SessionCall& native)
{
    scene.module.token.userPin = scene.module.token.soPin = scripted::textOf(secrets[0].data(), secrets[0].size());
    prepare(scene, native);
}

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++found;
    return found;
}

/// Every search that was started is ended, and every PC/SC context released.
void expectNothingLeft(const Scene& scene)
{
    const std::string& story = scene.story;
    EXPECT_EQ(count(story, "C_FindObjectsFinal("), count(story, "C_FindObjectsInit("));
    EXPECT_EQ(count(story, "-> context"), count(story, "SCardReleaseContext("));
}

class Memory : public testing::TestWithParam<SessionCall> {
protected:
    /// Runs the native with `fail` before it; true while something failed.
    template <typename Fail>
    void forEachFailure(const Fail& fail, const std::string& expected)
    {
        for (unsigned n = 1;; ++n) {
            Scene scene;
            prepareWithSecrets(scene, GetParam());
            const bool failed = fail(scene, n);
            SCOPED_TRACE("failure " + std::to_string(n));
            expectNothingLeft(scene);
            if (!failed) {
                EXPECT_EQ(scene.thrown + scene.told, "");
                return;
            }
            EXPECT_THAT(scene.thrown, testing::StartsWith(expected));
            EXPECT_EQ(scene.told, "");
            ASSERT_LT(n, 1000u);
        }
    }

    static void run(Scene& scene) { GetParam().run(scene, secrets[0], secrets[1]); }
};

INSTANTIATE_TEST_SUITE_P(Every, Memory, testing::ValuesIn(allSessionCalls()), nameOf);

TEST_P(Memory, ThatRunsOutIsAnOutOfMemoryError)
{
    forEachFailure(
        [](Scene& scene, unsigned n) {
            FailingAllocation failing(sessionLibrary, n);
            run(scene);
            return failing.hasFailed();
        },
        "java/lang/OutOfMemoryError: native memory");
}

TEST_P(Memory, ThatRunsOutInJavaEndsTheCall)
{
    forEachFailure(
        [](Scene& scene, unsigned n) {
            scene.java.failCall(n);
            run(scene);
            return scene.java.hasFailed();
        },
        "thrown by ");
}

TEST_P(Memory, ThatRunsOutInJavaEndsAlsoAFailedCall)
{
    for (unsigned n = 1;; ++n) {
        Scene scene;
        prepareWithSecrets(scene, GetParam());
        scene.pcsc.establishResult = SCARD_E_NO_SERVICE;
        scene.module.failCall(1, CKR_DEVICE_ERROR);
        scene.java.failCall(n);
        run(scene);
        if (!scene.java.hasFailed())
            return;
        EXPECT_THAT(scene.thrown, testing::StartsWith("thrown by "));
        EXPECT_EQ(scene.told, "");
        ASSERT_LT(n, 100u);
    }
}

TEST(ExhaustedMemory, InTheMiddleOfAFailureIsOneExceptionAlone)
{
    Scene scene;
    const SessionCall native = sessionCall("readCertificate");
    prepareWithSecrets(scene, native);
    scene.module.failCall(1, CKR_DEVICE_ERROR);
    scene.java.failCall(1);
    FailingAllocation failing(sessionLibrary, 3);
    native.run(scene, secrets[0], secrets[1]);
    EXPECT_TRUE(failing.hasFailed());
    EXPECT_EQ(scene.thrown, "thrown by FindClass") << "no class for an OutOfMemoryError";
}

class Secrets : public testing::TestWithParam<SessionCall> {
protected:
    /// Carries the native out. Every copy of a PIN is released and wiped; returns how many there were.
    static std::size_t watchedCopies(Scene& scene)
    {
        SecretWatch watch(secrets);
        scene.java.onCopy = [&](const void* copy, std::size_t length) { watch.copied(copy, length); };
        GetParam().run(scene, secrets[0], secrets[1]);
        scene.java.onCopy = nullptr;
        EXPECT_EQ(watch.released(), watch.copies());
        EXPECT_EQ(watch.betrayals(), 0u);
        return watch.copies();
    }
};

INSTANTIATE_TEST_SUITE_P(Every, Secrets, testing::ValuesIn(sessionCallsWithSecrets()), nameOf);

TEST_P(Secrets, AreWipedAfterSuccess)
{
    Scene scene;
    prepareWithSecrets(scene, GetParam());
    EXPECT_EQ(watchedCopies(scene), GetParam().secrets);
    EXPECT_EQ(scene.thrown + scene.told, "");
}

TEST_P(Secrets, AreWipedAfterARefusal)
{
    Scene scene;
    prepareWithSecrets(scene, GetParam());
    scene.module.failCall(1, CKR_PIN_LOCKED);
    EXPECT_EQ(watchedCopies(scene), GetParam().secrets);
    EXPECT_EQ(scene.thrown, "NativeFailure");
}

TEST_P(Secrets, AreWipedWhereverMemoryRunsOut)
{
    bool failed = true;
    for (unsigned n = 1; failed; ++n) {
        Scene scene;
        prepareWithSecrets(scene, GetParam());
        const FailingAllocation failing(sessionLibrary, n);
        const std::size_t copies = watchedCopies(scene);
        failed = failing.hasFailed();
        EXPECT_LE(copies, GetParam().secrets);
        ASSERT_LT(n, 100u);
    }
}

} // namespace
