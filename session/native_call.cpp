// SPDX-License-Identifier: Apache-2.0
#include "session/native_call.h"

#include <limits>

void throwIfPending(JNIEnv* env)
{
    if (env->ExceptionCheck() == JNI_TRUE)
        throw PendingJavaException();
}

ByteArray::ByteArray(JNIEnv* env, jbyteArray array)
{
    const jsize length = array == nullptr ? 0 : env->GetArrayLength(array);
    bytes_.resize(static_cast<std::size_t>(length));
    if (length != 0)
        env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(bytes_.data()));
}

Name::Name(JNIEnv* env, jbyteArray array) : size_(static_cast<std::size_t>(env->GetArrayLength(array)))
{
    if (size_ >= short_.size())
        long_.reset(new unsigned char[size_ + 1]); // make_unique would fill it first
    if (size_ != 0)
        env->GetByteArrayRegion(array, 0, static_cast<jsize>(size_), reinterpret_cast<jbyte*>(bytes()));
    bytes()[size_] = '\0';
}

std::vector<Bytes> readByteArrays(JNIEnv* env, jobjectArray arrays)
{
    std::vector<Bytes> copies(static_cast<std::size_t>(env->GetArrayLength(arrays)));
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const auto array = static_cast<jbyteArray>(env->GetObjectArrayElement(arrays, static_cast<jsize>(i)));
        throwIfPending(env);
        const jsize length = env->GetArrayLength(array);
        copies[i].resize(static_cast<std::size_t>(length));
        env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(copies[i].data()));
        env->DeleteLocalRef(array);
    }
    return copies;
}

jbyteArray newByteArray(JNIEnv* env, const unsigned char* bytes, std::size_t count)
{
    if (count > static_cast<std::size_t>(std::numeric_limits<jsize>::max()))
        throw std::bad_alloc(); // Java has no array for it
    const jbyteArray array = env->NewByteArray(static_cast<jsize>(count));
    if (array == nullptr)
        throw PendingJavaException();
    env->SetByteArrayRegion(array, 0, static_cast<jsize>(count), reinterpret_cast<const jbyte*>(bytes));
    return array;
}

void report(JNIEnv* env, jobject call, const Outcome& outcome, const std::string& lines)
{
    const bool failed = outcome.code != CKR_OK;
    if (!failed && lines.empty())
        return;
    const auto array = [&](std::string_view text) {
        return newByteArray(env, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    };
    const jbyteArray step = failed ? array(outcome.step) : nullptr;
    const jbyteArray text = array(lines);
    const jclass callClass = env->GetObjectClass(call);
    const jmethodID method = env->GetMethodID(callClass, "report", "(J[B[B)V");
    throwIfPending(env);
    env->CallVoidMethod(call, method, static_cast<jlong>(outcome.code), step, text);
    throwIfPending(env);
}

void throwOutOfMemory(JNIEnv* env)
{
    const jclass error = env->FindClass("java/lang/OutOfMemoryError");
    if (error != nullptr)
        (void)env->ThrowNew(error, "native memory"); // if that fails too, another exception is pending
}
