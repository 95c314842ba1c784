// SPDX-License-Identifier: Apache-2.0
// The instruments themselves: what the recording environment and the watched heap must not let pass.
#include "tests/jni/native_method_test.h"
#include "tests/support/watched_heap.h"

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <memory>
#include <new>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordingEnvironment : public testing::Test {
protected:
    scripted::Transcript transcript;
    RecordingJniEnv jni{transcript};
    JNIEnv* env = jni.get();
    jstring text = jni.string("text", "abc");
    jbyteArray bytes = jni.bytes("bytes", {1, 2, 3});
    jobject list = jni.list("list");
    jboolean isCopy = JNI_FALSE;
    jbyte buffer[8] = {};
};

TEST_F(RecordingEnvironment, RefusesOtherFunctionsByName)
{
    EXPECT_NONFATAL_FAILURE(env->DeleteLocalRef(text), "DeleteLocalRef called");
    EXPECT_NONFATAL_FAILURE(env->ExceptionCheck(), "ExceptionCheck called");
    EXPECT_NONFATAL_FAILURE(env->NewGlobalRef(text), "NewGlobalRef called");
    EXPECT_NONFATAL_FAILURE(env->CallBooleanMethod(list, nullptr), "CallBooleanMethodV called");
    EXPECT_NONFATAL_FAILURE(env->GetByteArrayElements(bytes, &isCopy), "GetByteArrayElements called");
    EXPECT_NONFATAL_FAILURE(env->GetVersion(), "GetVersion called");
    EXPECT_NONFATAL_FAILURE(env->GetModule(nullptr), "GetModule called");
}

TEST_F(RecordingEnvironment, RefusesAnotherCallWhileCharactersAreBorrowed)
{
    const char* const characters = env->GetStringUTFChars(text, &isCopy);
    EXPECT_NONFATAL_FAILURE(env->GetArrayLength(bytes), "GetArrayLength(bytes) while characters");
    EXPECT_NONFATAL_FAILURE(transcript.add("module loaded"), "module loaded while characters");
    env->ReleaseStringUTFChars(text, characters);
    env->GetArrayLength(bytes);
}

TEST_F(RecordingEnvironment, RefusesCharactersGivenBackTwice)
{
    const char* const characters = env->GetStringUTFChars(text, &isCopy);
    EXPECT_EQ(isCopy, JNI_TRUE);
    EXPECT_STREQ(characters, "abc");
    env->ReleaseStringUTFChars(text, characters);
    EXPECT_NONFATAL_FAILURE(env->ReleaseStringUTFChars(text, characters), "not lent of text");
}

TEST_F(RecordingEnvironment, RefusesCharactersGivenBackForAnotherString)
{
    const char* const characters = env->GetStringUTFChars(text, &isCopy);
    const jstring other = jni.string("other", "abc");
    EXPECT_NONFATAL_FAILURE(env->ReleaseStringUTFChars(other, characters), "not lent of other");
}

TEST_F(RecordingEnvironment, MissesCharactersThatAreKept)
{
    auto another = std::make_unique<RecordingJniEnv>(transcript);
    another->get()->GetStringUTFChars(another->string("kept", "abc"), &isCopy);
    EXPECT_NONFATAL_FAILURE(another.reset(), "never given back");
}

TEST_F(RecordingEnvironment, RefusesAMissingCopyFlag)
{
    const char* characters = nullptr;
    EXPECT_NONFATAL_FAILURE(characters = env->GetStringUTFChars(text, nullptr), "without a copy flag");
    env->ReleaseStringUTFChars(text, characters);
}

TEST_F(RecordingEnvironment, RefusesHandlesThatAreNullOrOfAnotherKind)
{
    EXPECT_NONFATAL_FAILURE(env->GetByteArrayRegion(nullptr, 0, 0, buffer), "a null handle");
    EXPECT_NONFATAL_FAILURE(env->GetByteArrayRegion(static_cast<jbyteArray>(list), 0, 0, buffer), "of another kind");
    EXPECT_NONFATAL_FAILURE(env->GetArrayLength(static_cast<jarray>(list)), "list, which is no array");
}

TEST_F(RecordingEnvironment, RefusesWhatLiesOutsideAnArray)
{
    EXPECT_NONFATAL_FAILURE(env->GetByteArrayRegion(bytes, 0, 4, buffer), "region outside bytes");
    EXPECT_NONFATAL_FAILURE(env->GetByteArrayRegion(bytes, 3, 1, buffer), "region outside bytes");
    EXPECT_NONFATAL_FAILURE(env->GetByteArrayRegion(bytes, -1, 1, buffer), "region outside bytes");
    const jobjectArray array = jni.outputArray("array");
    EXPECT_NONFATAL_FAILURE(env->GetObjectArrayElement(array, 1), "index 1 outside array");
    EXPECT_NONFATAL_FAILURE(env->SetObjectArrayElement(array, -1, text), "index -1 outside array");
    EXPECT_THAT(jni.elements(array), ElementsAre("null"));
}

TEST_F(RecordingEnvironment, RefusesMethodsOfAnotherClass)
{
    const jclass byteClass = env->FindClass("java/lang/Byte");
    const jclass listClass = env->FindClass("java/util/ArrayList");
    const jmethodID construct = env->GetMethodID(byteClass, "<init>", "(B)V");
    EXPECT_NONFATAL_FAILURE(env->NewObject(listClass, construct, 1), "no constructor java/lang/Byte.<init>(B)V");
    const jmethodID clear = env->GetMethodID(listClass, "clear", "()V");
    EXPECT_NONFATAL_FAILURE(env->CallVoidMethod(list, clear), "CallVoidMethod with a null handle");
    const jmethodID add = env->GetMethodID(byteClass, "add", "(Ljava/lang/Object;)Z");
    EXPECT_NONFATAL_FAILURE(env->CallVoidMethod(list, add, text), "no method java/lang/Byte.add");
    EXPECT_THAT(jni.elements(list), IsEmpty());
}

TEST_F(RecordingEnvironment, RefusesAByteThatIsNone)
{
    const jclass byteClass = env->FindClass("java/lang/Byte");
    const jmethodID construct = env->GetMethodID(byteClass, "<init>", "(B)V");
    EXPECT_NONFATAL_FAILURE(env->NewObject(byteClass, construct, 128), "no Java byte");
}

class WatchedHeap : public testing::Test {
protected:
    using Bytes = SecretWatch::Bytes;
    const std::vector<Bytes> secrets = {{0xa5, 0x01, 0xfe, 0x3c}};
};

TEST_F(WatchedHeap, SeesASecretThatGoesBackWithItsBlock)
{
    auto copy = std::make_unique<Bytes>(secrets[0]);
    SecretWatch watch(secrets);
    watch.copied(copy->data(), copy->size());
    EXPECT_EQ(watch.copies(), 1u);
    EXPECT_EQ(watch.released(), 0u);
    copy.reset();
    EXPECT_EQ(watch.released(), 1u);
    EXPECT_EQ(watch.betrayals(), 1u);
}

TEST_F(WatchedHeap, SeesASecretAmidOtherBytes)
{
    auto block = std::make_unique<Bytes>(64);
    std::copy(secrets[0].begin(), secrets[0].end(), block->begin() + 60);
    const SecretWatch watch(secrets);
    block.reset();
    EXPECT_EQ(watch.betrayals(), 1u);
}

TEST_F(WatchedHeap, SeesASingleByteLeftOfACopy)
{
    auto copy = std::make_unique<Bytes>(secrets[0]);
    SecretWatch watch(secrets);
    watch.copied(copy->data(), copy->size());
    std::fill(copy->begin(), copy->end() - 1, static_cast<unsigned char>(0));
    copy.reset();
    EXPECT_EQ(watch.betrayals(), 1u);
}

TEST_F(WatchedHeap, HasNothingAgainstAWipedBlock)
{
    auto copy = std::make_unique<Bytes>(secrets[0]);
    SecretWatch watch(secrets);
    watch.copied(copy->data(), copy->size());
    std::fill(copy->begin(), copy->end(), static_cast<unsigned char>(0));
    copy.reset();
    EXPECT_EQ(watch.released(), 1u);
    EXPECT_EQ(watch.betrayals(), 0u);
}

TEST_F(WatchedHeap, GivesNoMoreThanTheLimit)
{
    const AllocationLimit limit(1000);
    EXPECT_NO_THROW(::operator delete(::operator new(999)));
    EXPECT_THROW(::operator delete(::operator new(1000)), std::bad_alloc);
}

} // namespace
