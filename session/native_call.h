// SPDX-License-Identifier: Apache-2.0
// The frame of every native: Java arguments in, one job, its report and its result out.
//
// A native never prints, never lets a C++ exception out and never goes on beside a Java exception. What it has to say
// is collected and handed to Java's NativeCall.report, which throws where the job has failed.
#pragma once

#include "jni/secret_bytes.h"
#include "p11/diagnostics.h"
#include "p11/jobs.h"
#include "p11/outcome.h"
#include "p11/session.h"
#include "session/module.h"
#include "session/packing.h"

#include <jni.h>

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Thrown where a JNI function has left a Java exception: the native returns, and Java goes on with it.
struct PendingJavaException {};

void throwIfPending(JNIEnv* env);

/// A copy of a byte[], wiped at the end: it may hold a PIN. A null array has no bytes.
class ByteArray {
public:
    ByteArray(JNIEnv* env, jbyteArray array);

    ByteRun run() { return {firstByte(bytes_), bytes_.size()}; }

    /// The same as a run of texts in groups.
    TextRun groups(jlong texts, jlong groupSize) { return {run().first, CK_ULONG(texts / groupSize)}; }

private:
    SecretBytes bytes_;
};

/// A copy of a byte[] that names something and is no secret: a label, an ID, a file. A short one costs no allocation.
class Name {
public:
    Name(JNIEnv* env, jbyteArray array);

    ByteRun run() { return {size_ == 0 ? nullptr : bytes(), size_}; }

    /// Never without a pointer, which would tell a job that there is no text.
    std::string_view text() { return {cString(), size_}; }

    const char* cString() { return reinterpret_cast<const char*>(bytes()); }

private:
    unsigned char* bytes() { return long_ == nullptr ? short_.data() : long_.get(); }

    std::size_t size_;
    std::array<unsigned char, 64> short_; ///< with a NUL behind the name, as the other one
    std::unique_ptr<unsigned char[]> long_;
};

/// Copies of a byte[][]'s elements.
[[nodiscard]] std::vector<Bytes> readByteArrays(JNIEnv* env, jobjectArray arrays);

/// A byte[] with these bytes.
[[nodiscard]] jbyteArray newByteArray(JNIEnv* env, const unsigned char* bytes, std::size_t count);

/// Tells Java how a job has ended, unless it has nothing to say.
void report(JNIEnv* env, jobject call, const Outcome& outcome, const std::string& lines);

/// Throws an OutOfMemoryError.
void throwOutOfMemory(JNIEnv* env);

/// Runs `work` and returns its result; a C++ exception becomes a Java one, and the result a default.
template <typename Work>
auto guarded(JNIEnv* env, const Work& work) noexcept -> decltype(work())
{
    try {
        return work();
    } catch (const PendingJavaException&) {
        // Java goes on with it.
    } catch (const std::bad_alloc&) {
        throwOutOfMemory(env);
    } catch (const std::length_error&) { // a length that no memory can hold
        throwOutOfMemory(env);
    }
    return decltype(work())();
}

/// Runs a job (from a Diagnostics to an Outcome) and reports it.
template <typename Job>
void run(JNIEnv* env, jobject call, const Job& job) noexcept
{
    guarded(env, [&] {
        std::string text;
        const Diagnostics lines(text);
        const Outcome outcome = job(lines);
        outcome.writeLastWords(lines);
        report(env, call, outcome, text);
    });
}

/// Runs a job that fills bytes (from a Diagnostics and Bytes to an Outcome), reports it and returns the bytes.
template <typename Job>
[[nodiscard]] jbyteArray fetch(JNIEnv* env, jobject call, const Job& job) noexcept
{
    jbyteArray result = nullptr;
    run(env, call, [&](const Diagnostics& lines) {
        Bytes output;
        const Outcome outcome = job(lines, output);
        if (outcome.code == CKR_OK)
            result = newByteArray(env, output.data(), output.size());
        return outcome;
    });
    return result;
}

inline Module& moduleOf(jlong module)
{
    return *reinterpret_cast<Module*>(module); // NOLINT(performance-no-int-to-ptr): Java keeps pointers as numbers
}

/// The session of a job. Its login is the caller's matter: where the process has another one, the job goes on with it.
inline Session sessionOf(jlong module, jlong session, const Diagnostics& lines)
{
    return {moduleOf(module).functions(), static_cast<CK_SESSION_HANDLE>(session), lines};
}
