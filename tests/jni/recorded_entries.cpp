// SPDX-License-Identifier: Apache-2.0
// The function table of RecordingJniEnv.
#include "tests/jni/RecordingJniEnv.h"

#include "tests/support/refusing_function_table.h"

#include <cstdarg>
#include <cstring>

namespace {

std::string describe(const JavaObject* object)
{
    return object != nullptr ? object->name : "null";
}

bool inside(const JavaSequence& sequence, jsize index)
{
    const bool found = index >= 0 && static_cast<std::size_t>(index) < sequence.elements.size();
    EXPECT_TRUE(found) << "index " << index << " outside " << sequence.name;
    return found;
}

/// The one argument, if any, of the methods that native methods call; a byte travels through `...` as an int.
jvalue argumentOf(const JavaMethod* method, va_list arguments)
{
    jvalue value{};
    if (method == nullptr || method->signature.rfind("()", 0) == 0)
        return value;
    if (method->signature.rfind("(B)", 0) != 0) {
        value.l = va_arg(arguments, jobject);
        return value;
    }
    const int number = va_arg(arguments, int);
    value.b = static_cast<jbyte>(number);
    EXPECT_EQ(value.b, number) << "no Java byte";
    return value;
}

} // namespace

/// The recorded entries, as the C functions that the table holds.
struct RecordingJniEnv::Entries {
    static RecordingJniEnv& of(JNIEnv* env) { return *static_cast<Env*>(env)->recorder; }

    static jsize JNICALL GetArrayLength(JNIEnv* env, jarray array)
    {
        auto* object = of(env).checked<JavaObject>(array, "GetArrayLength");
        of(env).record("GetArrayLength(" + describe(object) + ")");
        if (auto* bytes = dynamic_cast<JavaByteArray*>(object))
            return static_cast<jsize>(bytes->bytes.size());
        if (auto* elements = dynamic_cast<JavaObjectArray*>(object))
            return static_cast<jsize>(elements->elements.size());
        ADD_FAILURE() << "GetArrayLength of " << describe(object) << ", which is no array";
        return 0;
    }

    static void JNICALL GetByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length, jbyte* buffer)
    {
        auto* object = of(env).checked<JavaByteArray>(array, "GetByteArrayRegion");
        of(env).record("GetByteArrayRegion(" + describe(object) + ", " + std::to_string(start) + ", " +
                       std::to_string(length) + ")");
        if (object == nullptr)
            return;
        const auto size = static_cast<jsize>(object->bytes.size());
        if (start < 0 || length < 0 || start > size - length) {
            ADD_FAILURE() << "region outside " << object->name;
        } else if (length > 0) {
            std::memcpy(buffer, object->bytes.data() + start, static_cast<std::size_t>(length));
            if (of(env).onCopy)
                of(env).onCopy(buffer, static_cast<std::size_t>(length));
        }
    }

    static const char* JNICALL GetStringUTFChars(JNIEnv* env, jstring string, jboolean* isCopy)
    {
        auto* object = of(env).checked<JavaString>(string, "GetStringUTFChars");
        of(env).record("GetStringUTFChars(" + describe(object) + ")");
        if (isCopy != nullptr)
            *isCopy = JNI_TRUE;
        else
            ADD_FAILURE() << "GetStringUTFChars without a copy flag";
        return object != nullptr ? of(env).lend(*object) : nullptr;
    }

    static void JNICALL ReleaseStringUTFChars(JNIEnv* env, jstring string, const char* characters)
    {
        auto* object = of(env).checked<JavaString>(string, "ReleaseStringUTFChars");
        of(env).takeBack(object, characters);
        of(env).record("ReleaseStringUTFChars(" + describe(object) + ")");
    }

    static jstring JNICALL NewStringUTF(JNIEnv* env, const char* characters)
    {
        EXPECT_NE(characters, nullptr) << "NewStringUTF without characters";
        const std::string text = characters != nullptr ? characters : "";
        of(env).record("NewStringUTF(\"" + text + "\")");
        return of(env).make<jstring, JavaString>('"' + text + '"', text);
    }

    static jclass JNICALL FindClass(JNIEnv* env, const char* name)
    {
        of(env).record(std::string("FindClass(") + name + ")");
        return of(env).make<jclass, JavaClass>(name);
    }

    static jmethodID JNICALL GetMethodID(JNIEnv* env, jclass owner, const char* name, const char* signature)
    {
        auto* object = of(env).checked<JavaClass>(owner, "GetMethodID");
        of(env).record("GetMethodID(" + describe(object) + ", " + name + ", " + signature + ")");
        if (object == nullptr || of(env).hiddenMethods_.count(name) > 0)
            return nullptr;
        return of(env).make<jmethodID, JavaMethod>(object->name, name, signature);
    }

    static jobject JNICALL NewObjectA(JNIEnv* env, jclass clazz, jmethodID id, const jvalue* arguments)
    {
        auto* object = of(env).checked<JavaClass>(clazz, "NewObject");
        auto* constructor = of(env).checked<JavaMethod>(id, "NewObject");
        const std::string called = constructor != nullptr ? constructor->qualifiedName() : "";
        if (called == "java/lang/Byte.<init>(B)V" && object->name == constructor->owner) {
            of(env).record("NewObject(java/lang/Byte, " + std::to_string(arguments->b) + ")");
            return of(env).make<jobject, JavaByte>(arguments->b);
        }
        of(env).record("NewObject(" + describe(object) + ")");
        if (called == JavaObjectAttribute::className + ".<init>()V" && object->name == constructor->owner)
            return of(env).make<jobject, JavaObjectAttribute>("attribute");
        ADD_FAILURE() << "no constructor " << called << " of " << describe(object);
        return nullptr;
    }

    static jobject JNICALL NewObjectV(JNIEnv* env, jclass clazz, jmethodID id, va_list arguments)
    {
        const jvalue argument = argumentOf(of(env).checked<JavaMethod>(id, "NewObject"), arguments);
        return NewObjectA(env, clazz, id, &argument);
    }

    static jobject JNICALL NewObject(JNIEnv* env, jclass clazz, jmethodID id, ...)
    {
        va_list arguments;
        va_start(arguments, id);
        const jobject object = NewObjectV(env, clazz, id, arguments);
        va_end(arguments);
        return object;
    }

    static void JNICALL CallVoidMethodA(JNIEnv* env, jobject target, jmethodID id, const jvalue* arguments)
    {
        auto* object = of(env).checked<JavaObject>(target, "CallVoidMethod");
        auto* method = of(env).checked<JavaMethod>(id, "CallVoidMethod");
        if (object == nullptr || method == nullptr)
            return;
        auto* argument = of(env).checked<JavaObject>(arguments->l, "CallVoidMethod");
        of(env).record("CallVoidMethod(" + object->name + "." + method->name + ", " + describe(argument) + ")");
        if (argument != nullptr && !object->invoke(*method, *argument))
            ADD_FAILURE() << "no method " << method->qualifiedName() << " on " << object->name;
    }

    static void JNICALL CallVoidMethodV(JNIEnv* env, jobject target, jmethodID id, va_list arguments)
    {
        const jvalue argument = argumentOf(of(env).checked<JavaMethod>(id, "CallVoidMethod"), arguments);
        CallVoidMethodA(env, target, id, &argument);
    }

    static void JNICALL CallVoidMethod(JNIEnv* env, jobject target, jmethodID id, ...)
    {
        va_list arguments;
        va_start(arguments, id);
        CallVoidMethodV(env, target, id, arguments);
        va_end(arguments);
    }

    static jobject JNICALL GetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index)
    {
        auto* object = of(env).checked<JavaObjectArray>(array, "GetObjectArrayElement");
        of(env).record("GetObjectArrayElement(" + describe(object) + ", " + std::to_string(index) + ")");
        if (object == nullptr || !inside(*object, index))
            return nullptr;
        return reinterpret_cast<jobject>(object->elements[static_cast<std::size_t>(index)]);
    }

    static void JNICALL SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject element)
    {
        auto* object = of(env).checked<JavaObjectArray>(array, "SetObjectArrayElement");
        auto* value = of(env).checked<JavaString>(element, "SetObjectArrayElement");
        of(env).record("SetObjectArrayElement(" + describe(object) + ", " + std::to_string(index) + ", " +
                       describe(value) + ")");
        if (object != nullptr && inside(*object, index))
            object->elements[static_cast<std::size_t>(index)] = value;
    }
};

const JNINativeInterface_& RecordingJniEnv::functionTable()
{
    static const JNINativeInterface_ table = [] {
        JNINativeInterface_ entries = refusingFunctionTable();
        entries.GetArrayLength = Entries::GetArrayLength;
        entries.GetByteArrayRegion = Entries::GetByteArrayRegion;
        entries.GetStringUTFChars = Entries::GetStringUTFChars;
        entries.ReleaseStringUTFChars = Entries::ReleaseStringUTFChars;
        entries.NewStringUTF = Entries::NewStringUTF;
        entries.FindClass = Entries::FindClass;
        entries.GetMethodID = Entries::GetMethodID;
        entries.NewObject = Entries::NewObject;
        entries.NewObjectV = Entries::NewObjectV;
        entries.NewObjectA = Entries::NewObjectA;
        entries.CallVoidMethod = Entries::CallVoidMethod;
        entries.CallVoidMethodV = Entries::CallVoidMethodV;
        entries.CallVoidMethodA = Entries::CallVoidMethodA;
        entries.GetObjectArrayElement = Entries::GetObjectArrayElement;
        entries.SetObjectArrayElement = Entries::SetObjectArrayElement;
        return entries;
    }();
    return table;
}
