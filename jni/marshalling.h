// Java values on their way in and out of the library.
//
// Nothing is kept between calls: no class, no method ID. A null reference means "none" where a comment says so; other
// Java-side faults (a null PIN, a pending exception) are not tested for.
#pragma once

#include "p11/ObjectAttr.h"

#include <jni.h>

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// A byte run's first byte, null when it has none.
inline unsigned char* firstByte(Bytes& bytes)
{
    return bytes.empty() ? nullptr : bytes.data();
}

/// A copy of a byte[]. Any of them may be a PIN, so each is wiped before its memory is released.
class SecretBytes {
public:
    SecretBytes() = default;
    ~SecretBytes();
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;

    void read(JNIEnv* env, jbyteArray array);
    /// The same for an array that may be null; one without bytes is not read.
    void readIfAny(JNIEnv* env, jbyteArray array);

    unsigned char* data() { return firstByte(bytes_); }
    unsigned long size() const { return bytes_.size(); }

private:
    Bytes bytes_;
};

/// A copy of a String in modified UTF-8 as the JVM delivers it.
std::string readString(JNIEnv* env, jstring string);

/// Copies of a byte[][]'s elements; none for a null array.
std::vector<Bytes> readByteArrays(JNIEnv* env, jobjectArray arrays);

/// The strings of a String[] laid end to end, each with its NUL; none for a null array.
struct StringRun {
    Bytes bytes;
    unsigned long count = 0; ///< how many strings
};
StringRun readStrings(JNIEnv* env, jobjectArray strings);

/// Appends the bytes to a java.util.ArrayList as java.lang.Byte objects.
void appendBytes(JNIEnv* env, jobject list, const Bytes& bytes);

/// Appends the records to a java.util.ArrayList as Pkcs11ObjectAttribute objects.
void appendObjects(JNIEnv* env, jobject list, const std::vector<ObjectAttr>& objects);

/// Stores the text, up to its first NUL, in element 0 of a String[], unless that is null or has no elements.
void storeFirst(JNIEnv* env, jobjectArray array, const std::string& text);
