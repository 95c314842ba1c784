// SPDX-License-Identifier: Apache-2.0
// No native method gives memory back to the heap with a PIN in it, however it ends.
#include "tests/jni/native_calls.h"
#include "tests/jni/native_method_test.h"
#include "tests/support/watched_heap.h"

#include <new>
#include <optional>
#include <stdexcept>

namespace {

class WatchedSecrets : public NativeMethodTest {
protected:
    // Unprintable, so that transcripts hold hexadecimal digits instead; short, as SecretWatch asks.
    const std::vector<Bytes> secrets = {{0x91, 0x07, 0xe2, 0x7f, 0x80, 0x13, 0xc5, 0x04},
                                        {0xb3, 0x1c, 0x99, 0xf1, 0x0e, 0xd6}};

    WatchedSecrets()
    {
        module.token.userPin = module.token.soPin = scripted::textOf(secrets[0].data(), secrets[0].size());
        module.addSampleObjects();
    }

    template <typename Call>
    jlong watched(const Call& call)
    {
        watch.emplace(secrets);
        jni.onCopy = [&](const void* copy, std::size_t length) { watch->copied(copy, length); };
        return run(call);
    }

    /// Each of so many secrets was copied once, and its copy released and wiped.
    void expectWiped(std::size_t count) const
    {
        ASSERT_TRUE(watch) << "no call was watched";
        EXPECT_EQ(watch->copies(), count);
        EXPECT_EQ(watch->released(), count);
        EXPECT_EQ(watch->betrayals(), 0u);
    }

    std::optional<SecretWatch> watch;
};

class Secrets : public WatchedSecrets, public testing::WithParamInterface<NativeCall> {
protected:
    jlong watchedCall()
    {
        prepared = GetParam().prepare(jni, {terminalName, modulePath, secrets[0], secrets[1]});
        return watched(prepared.run);
    }

    void TearDown() override
    {
        expectWiped(GetParam().secrets);
        watch.reset();
    }

    PreparedCall prepared;
};

INSTANTIATE_TEST_SUITE_P(Every, Secrets, testing::ValuesIn(nativeCallsWithSecrets()), nameOf);

TEST_P(Secrets, AreWipedAfterSuccess)
{
    EXPECT_EQ(watchedCall(), 0);
}

TEST_P(Secrets, AreWipedAfterARefusal)
{
    module.token.userPin = module.token.soPin = "another";
    EXPECT_EQ(watchedCall(), code(CKR_PIN_INCORRECT));
}

TEST_P(Secrets, AreWipedAfterAFailedLookup)
{
    terminalName = jni.string("terminalName", "Another Reader");
    EXPECT_EQ(watchedCall(), 6);
}

TEST_P(Secrets, AreWipedWithoutAModule)
{
    modulePath = jni.string("modulePath", "/no/such/module.so");
    EXPECT_EQ(watchedCall(), 1);
}

TEST_P(Secrets, AreWipedWhenAnExceptionLeavesTheLookup)
{
    module.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID*, CK_ULONG* count) {
        *count = ~CK_ULONG{0} / sizeof(CK_SLOT_ID);
        return CKR_OK;
    };
    EXPECT_THROW(watchedCall(), std::length_error);
}

TEST_P(Secrets, AreWipedWhenAnExceptionLeavesTheConversion)
{
    modulePath = jni.string("modulePath", std::string(1 << 20, 'x'));
    const AllocationLimit limit(1 << 19);
    EXPECT_THROW(watchedCall(), std::bad_alloc);
}

TEST_F(WatchedSecrets, AreWipedWhenTheNextArrayCannotBeCopied)
{
    const jbyteArray oldPin = jni.bytes("oldPin", secrets[0]);
    const jbyteArray newPin = jni.bytes("newPin", Bytes(1 << 20));
    const AllocationLimit limit(1 << 19);
    EXPECT_THROW(watched([&] { return natives::setPin(jni.get(), nullptr, terminalName, modulePath, oldPin, newPin); }),
                 std::bad_alloc);
    expectWiped(1);
}

TEST_F(WatchedSecrets, AreWipedInArraysOfArrays)
{
    const jbyteArray id = jni.bytes("id", {0x01});
    const jobjectArray furtherIds = jni.byteArrays("furtherIds", {secrets[0], Bytes(200), secrets[1]});
    watched([&] {
        return natives::pkcs7Sign(jni.get(), nullptr, terminalName, modulePath, pin, id, id, id, furtherIds, 0,
                                  jni.list("signature"));
    });
    expectWiped(2);
}

TEST_F(WatchedSecrets, AreWipedWhenTheRestOfAnArrayOfArraysCannotBeCopied)
{
    const jbyteArray id = jni.bytes("id", {0x01});
    const jobjectArray furtherIds = jni.byteArrays("furtherIds", {secrets[0], secrets[1], Bytes(1 << 20)});
    const AllocationLimit limit(1 << 19);
    EXPECT_THROW(watched([&] {
                     return natives::pkcs7Sign(jni.get(), nullptr, terminalName, modulePath, pin, id, id, id,
                                               furtherIds, 0, jni.list("signature"));
                 }),
                 std::bad_alloc);
    expectWiped(2);
}

class WatchedTexts : public WatchedSecrets {
protected:
    /// Attributes of a request: a challenge password, and another behind it.
    jobjectArray attributes(const std::string& another)
    {
        return jni.strings("attributes", {"challengePassword", std::string(secrets[1].begin(), secrets[1].end()),
                                          "unstructuredName", another});
    }

    /// No reader is found, since the scripted module would write the texts down.
    jlong request(jobjectArray attributes)
    {
        terminalName = jni.string("terminalName", "Another Reader");
        const jbyteArray id = jni.bytes("id", {0x01});
        const jbyteArray userPin = jni.bytes("pin", secrets[0]);
        return watched([&] {
            return natives::createCSR(jni.get(), nullptr, terminalName, modulePath, userPin, id, id, nullptr,
                                      attributes, nullptr, jni.list("request"));
        });
    }
};

TEST_F(WatchedTexts, OfARequestAreWipedAlsoWhereTheyHadToMove)
{
    EXPECT_EQ(request(attributes(std::string(300, 'x'))), 6);
    expectWiped(1);
}

TEST_F(WatchedTexts, OfARequestAreWipedWhenTheRestCannotBeCopied)
{
    const jobjectArray tooLong = attributes(std::string(1 << 20, 'x'));
    const AllocationLimit limit(1 << 19);
    EXPECT_THROW(request(tooLong), std::bad_alloc);
    expectWiped(1);
}

} // namespace
