// SPDX-License-Identifier: Apache-2.0
// The object in which the class loaders of a process meet.
#include "tests/session/scene.h"

#include <unistd.h>

namespace {

class SharedObject : public SessionTest {
protected:
    /// The content of what a name stands for; none where it stands for nothing.
    std::optional<Bytes> found(const std::string& name)
    {
        const jobject receiver = java.call();
        const jobject object = natives.findShared(java.get(), receiver, bytes(name));
        EXPECT_EQ(java.exception, "");
        return java.content(static_cast<jbyteArray>(object));
    }

    const Bytes object = {1, 2, 3};
    const std::string process = std::to_string(getpid()) + ":";
};

TEST_F(SharedObject, IsFoundByItsName)
{
    const jobject kept = bytes(object);
    const std::optional<Bytes> name = fetch(natives.keepShared, kept);
    ASSERT_TRUE(name);
    const std::string text(name->begin(), name->end());
    EXPECT_THAT(text, testing::StartsWith(process));
    EXPECT_EQ(found(text), object);
    EXPECT_EQ(found("1" + text), std::nullopt) << "another process's";
    EXPECT_EQ(found(text + "x"), std::nullopt);
}

TEST_F(SharedObject, IsNotFoundByWhatIsNoName)
{
    for (const std::string& name : {std::string(), std::string("x"), process, process + "x", process + "-1",
                                    process + "99999999999999999999", process + "4096"})
        EXPECT_EQ(found(name), std::nullopt) << name;
}

TEST_F(SharedObject, IsNotKeptWhereItsNameCannotBeDelivered)
{
    const jobject kept = bytes(object);
    for (unsigned n = 1;; ++n) {
        java.failCall(n);
        const bool delivered = fetch(natives.keepShared, kept).has_value();
        EXPECT_EQ(java.globalReferences(), delivered ? 1U : 0U);
        if (delivered)
            break;
        EXPECT_THAT(thrown, testing::StartsWith("thrown by "));
    }
}

TEST_F(SharedObject, IsNotTakenForOneThatIsMissingWhereNoReferenceCanBeMade)
{
    const jobject kept = bytes(object);
    const std::optional<Bytes> name = fetch(natives.keepShared, kept);
    ASSERT_TRUE(name);
    java.outOfReferences = true;
    const std::string outOfMemory = "java/lang/OutOfMemoryError: native memory";
    EXPECT_EQ(call(natives.findShared, bytes(*name)), nullptr);
    EXPECT_EQ(thrown, outOfMemory);
    EXPECT_EQ(fetch(natives.keepShared, kept), std::nullopt);
    EXPECT_EQ(thrown, outOfMemory);
}

} // namespace
