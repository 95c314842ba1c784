// SPDX-License-Identifier: Apache-2.0
// Conversion of Java values to native ones and back.
//
// Nothing is kept between calls: no class, no method ID. A null reference means "none" where a comment says so. Other
// faults of the Java side (a null PIN, a pending exception) are not tested for.
#pragma once

#include "jni/secret_bytes.h"
#include "p11/ObjectAttr.h"

#include <jni.h>

#include <string>
#include <vector>

/// A copy of a byte[].
[[nodiscard]] SecretBytes readBytes(JNIEnv* env, jbyteArray array);

/// The same for an array that may be null; one without bytes is not read.
[[nodiscard]] SecretBytes readBytesIfAny(JNIEnv* env, jbyteArray array);

/// A copy of a String in modified UTF-8 as the JVM delivers it.
[[nodiscard]] std::string readString(JNIEnv* env, jstring string);

/// Copies of a byte[][]'s elements, wiped at the end. They are held as the operations take them.
class SecretByteArrays {
public:
    SecretByteArrays() = default;
    ~SecretByteArrays();
    SecretByteArrays(const SecretByteArrays&) = delete;
    SecretByteArrays& operator=(const SecretByteArrays&) = delete;

    /// A null array has no elements.
    void read(JNIEnv* env, jobjectArray arrays);

    const std::vector<Bytes>& get() const { return copies_; }

private:
    std::vector<Bytes> copies_;
};

/// The strings of a String[] laid end to end, each with its NUL; none for a null array. A request's texts may hold a
/// challenge password.
struct StringRun {
    SecretBytes bytes;
    unsigned long count = 0; ///< how many strings
};
[[nodiscard]] StringRun readStrings(JNIEnv* env, jobjectArray strings);

/// Appends the bytes to a java.util.ArrayList as java.lang.Byte objects.
void appendBytes(JNIEnv* env, jobject list, const Bytes& bytes);

/// Appends the records to a java.util.ArrayList as Pkcs11ObjectAttribute objects.
void appendObjects(JNIEnv* env, jobject list, const std::vector<ObjectAttr>& objects);

/// Stores the text, up to its first NUL, in element 0 of a String[], unless that is null or has no elements.
void storeFirst(JNIEnv* env, jobjectArray array, const std::string& text);
