// SPDX-License-Identifier: Apache-2.0
#include "jni/marshalling.h"

#include <cstring>

namespace {

/// A String's characters, borrowed from the JVM and given back at the end of the scope.
class BorrowedCharacters {
public:
    BorrowedCharacters(JNIEnv* env, jstring string)
        : env_(env), string_(string), characters_(env->GetStringUTFChars(string, &isCopy_))
    {
    }
    ~BorrowedCharacters() { env_->ReleaseStringUTFChars(string_, characters_); }
    BorrowedCharacters(const BorrowedCharacters&) = delete;
    BorrowedCharacters& operator=(const BorrowedCharacters&) = delete;

    const char* get() const { return characters_; }

private:
    JNIEnv* env_;
    jstring string_;
    jboolean isCopy_ = JNI_FALSE; // asked for, of no interest: the characters are copied at once
    const char* characters_;
};

jsize lengthOrZero(JNIEnv* env, jarray array)
{
    return array == nullptr ? 0 : env->GetArrayLength(array);
}

/// Makes `copy` as long as `length` tells and copies the array into it.
template <typename Run>
void copyBytes(JNIEnv* env, jbyteArray array, jsize length, Run& copy)
{
    copy.assign(static_cast<std::size_t>(length), 0);
    env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(firstByte(copy)));
}

void callWithString(JNIEnv* env, jobject object, jclass objectClass, const char* setter, const std::string& text)
{
    const jstring string = env->NewStringUTF(text.c_str());
    const jmethodID method = env->GetMethodID(objectClass, setter, "(Ljava/lang/String;)V");
    env->CallVoidMethod(object, method, string);
}

void add(JNIEnv* env, jobject list, jclass listClass, jobject element)
{
    env->CallVoidMethod(list, env->GetMethodID(listClass, "add", "(Ljava/lang/Object;)Z"), element);
}

} // namespace

SecretBytes readBytes(JNIEnv* env, jbyteArray array)
{
    SecretBytes bytes;
    copyBytes(env, array, env->GetArrayLength(array), bytes);
    return bytes;
}

SecretBytes readBytesIfAny(JNIEnv* env, jbyteArray array)
{
    SecretBytes bytes;
    const jsize length = lengthOrZero(env, array);
    if (length > 0)
        copyBytes(env, array, length, bytes);
    return bytes;
}

std::string readString(JNIEnv* env, jstring string)
{
    return BorrowedCharacters(env, string).get();
}

SecretByteArrays::~SecretByteArrays()
{
    for (Bytes& copy : copies_) {
        if (!copy.empty())
            explicit_bzero(copy.data(), copy.size());
    }
}

void SecretByteArrays::read(JNIEnv* env, jobjectArray arrays)
{
    const jsize count = lengthOrZero(env, arrays);
    for (jsize i = 0; i < count; ++i) {
        const auto array = static_cast<jbyteArray>(env->GetObjectArrayElement(arrays, i));
        const jsize length = env->GetArrayLength(array);
        copyBytes(env, array, length, copies_.emplace_back()); // in its place: no copy outside can be left behind
    }
}

StringRun readStrings(JNIEnv* env, jobjectArray strings)
{
    StringRun run;
    const jsize count = lengthOrZero(env, strings);
    for (jsize i = 0; i < count; ++i) {
        const BorrowedCharacters text(env, static_cast<jstring>(env->GetObjectArrayElement(strings, i)));
        run.bytes.insert(run.bytes.end(), text.get(), text.get() + std::strlen(text.get()) + 1);
        ++run.count;
    }
    return run;
}

void appendBytes(JNIEnv* env, jobject list, const Bytes& bytes)
{
    if (bytes.empty())
        return;
    const jclass byteClass = env->FindClass("java/lang/Byte");
    const jclass listClass = env->FindClass("java/util/ArrayList");
    for (const unsigned char byte : bytes) {
        const jmethodID constructor = env->GetMethodID(byteClass, "<init>", "(B)V");
        add(env, list, listClass, env->NewObject(byteClass, constructor, static_cast<jbyte>(byte)));
    }
}

void appendObjects(JNIEnv* env, jobject list, const std::vector<ObjectAttr>& objects)
{
    if (objects.empty())
        return;
    const jclass attributeClass = env->FindClass("com/tovr/smartcard/vornixtoken/api/Pkcs11ObjectAttribute");
    const jclass listClass = env->FindClass("java/util/ArrayList");
    for (const ObjectAttr& object : objects) {
        const jmethodID constructor = env->GetMethodID(attributeClass, "<init>", "()V");
        const jobject attribute = env->NewObject(attributeClass, constructor);
        callWithString(env, attribute, attributeClass, "setType", object.type);
        callWithString(env, attribute, attributeClass, "setLabel", object.label);
        callWithString(env, attribute, attributeClass, "setId", object.id);
        if (!object.keyType.empty()) { // what is no key keeps the class's own idea of "no key type"
            const jstring keyType = env->NewStringUTF(object.keyType.c_str());
            const jmethodID setKeyType = env->GetMethodID(attributeClass, "setKeyType", "(Ljava/lang/String;)V");
            if (setKeyType != nullptr) // else the error of the look-up reaches the application when the call returns
                env->CallVoidMethod(attribute, setKeyType, keyType);
        }
        add(env, list, listClass, attribute);
    }
}

void storeFirst(JNIEnv* env, jobjectArray array, const std::string& text)
{
    if (lengthOrZero(env, array) > 0)
        env->SetObjectArrayElement(array, 0, env->NewStringUTF(text.c_str()));
}
