// SPDX-License-Identifier: Apache-2.0
#include "tests/session/StrictJniEnv.h"

#include "tests/support/refusing_function_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

namespace {

const char* const callClassName = "com/tovr/smartcard/vornixtoken/NativeCall";

// The one method that the natives call.
char reportMethod;

template <typename Array>
bool isRegion(const Array& array, jsize start, jsize length)
{
    const bool inside = start >= 0 && length >= 0 && static_cast<std::size_t>(start) <= array.size() &&
                        static_cast<std::size_t>(length) <= array.size() - static_cast<std::size_t>(start);
    EXPECT_TRUE(inside) << "a region outside its array";
    return inside;
}

} // namespace

template <typename Handle>
Handle StrictJniEnv::refer(Object object, Kind kind)
{
    Reference& reference = references_.emplace_back(Reference{std::move(object), kind});
    const auto locals =
        std::count_if(references_.begin(), references_.end(), [](const Reference& r) { return r.kind == Kind::local; });
    mostReferences_ = std::max(mostReferences_, static_cast<std::size_t>(locals));
    return reinterpret_cast<Handle>(&reference);
}

/// The reference that a handle stands for; null for one that was never given or is released.
StrictJniEnv::Reference* StrictJniEnv::referenceOf(const void* handle)
{
    const auto found =
        std::find_if(references_.begin(), references_.end(), [=](const Reference& r) { return &r == handle; });
    return found == references_.end() ? nullptr : &*found;
}

/// The object behind a handle; null, with the test failed, for a handle that is none or of another kind.
template <typename Type>
Type* StrictJniEnv::find(const void* handle, const char* entry)
{
    Reference* const reference = referenceOf(handle);
    auto* object = reference == nullptr ? nullptr : std::get_if<Type>(&reference->object);
    EXPECT_NE(object, nullptr) << entry << " with a reference that is null, released or of another kind";
    return object;
}

/// Whether a call of a function that can fail shall fail.
bool StrictJniEnv::fails(const char* entry)
{
    if (!untilFailure_ || *untilFailure_ == 0 || --*untilFailure_ != 0)
        return false;
    exception = std::string("thrown by ") + entry;
    return true;
}

/// The entries that the natives use, as the C functions that the table holds.
struct StrictJniEnv::Entries {
    static StrictJniEnv& of(JNIEnv* env) { return *static_cast<Env*>(env)->java; }

    /// How every function begins that must not be called beside a pending exception.
    static StrictJniEnv& enter(JNIEnv* env, const char* entry)
    {
        EXPECT_EQ(of(env).exception, "") << entry << " beside a pending exception";
        return of(env);
    }

    static jboolean JNICALL ExceptionCheck(JNIEnv* env) { return of(env).exception.empty() ? JNI_FALSE : JNI_TRUE; }

    static void JNICALL DeleteLocalRef(JNIEnv* env, jobject object) { erase(env, object, Kind::local); }

    /// Releases a reference; beside a pending exception too.
    static void erase(JNIEnv* env, jobject object, Kind kind)
    {
        const Reference* const reference = of(env).referenceOf(object);
        if (reference == nullptr || reference->kind != kind)
            ADD_FAILURE() << "release of a reference that the native has not made";
        else
            of(env).references_.remove_if([=](const Reference& r) { return &r == reference; });
    }

    static jsize JNICALL GetArrayLength(JNIEnv* env, jarray array)
    {
        StrictJniEnv& java = enter(env, "GetArrayLength");
        for (const Reference& reference : java.references_) {
            if (reinterpret_cast<jarray>(const_cast<Reference*>(&reference)) != array)
                continue;
            if (const auto* bytes = std::get_if<Bytes>(&reference.object))
                return static_cast<jsize>(bytes->size());
            if (const auto* arrays = std::get_if<std::vector<Bytes>>(&reference.object))
                return static_cast<jsize>(arrays->size());
        }
        ADD_FAILURE() << "GetArrayLength of what is no array";
        return 0;
    }

    static void JNICALL GetByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length, jbyte* buffer)
    {
        StrictJniEnv& java = enter(env, "GetByteArrayRegion");
        const auto* bytes = java.find<Bytes>(array, "GetByteArrayRegion");
        if (bytes == nullptr || !isRegion(*bytes, start, length) || length == 0)
            return;
        std::memcpy(buffer, bytes->data() + start, static_cast<std::size_t>(length));
        if (java.onCopy)
            java.onCopy(buffer, static_cast<std::size_t>(length));
    }

    static void JNICALL SetByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length,
                                           const jbyte* buffer)
    {
        auto* bytes = enter(env, "SetByteArrayRegion").find<Bytes>(array, "SetByteArrayRegion");
        if (bytes != nullptr && isRegion(*bytes, start, length) && length != 0)
            std::memcpy(bytes->data() + start, buffer, static_cast<std::size_t>(length));
    }

    static void JNICALL GetLongArrayRegion(JNIEnv* env, jlongArray array, jsize start, jsize length, jlong* buffer)
    {
        StrictJniEnv& java = enter(env, "GetLongArrayRegion");
        const auto* longs = java.find<Longs>(array, "GetLongArrayRegion");
        if (longs != nullptr && !java.fails("GetLongArrayRegion") && isRegion(*longs, start, length))
            std::copy_n(longs->begin() + start, length, buffer);
    }

    static jobject JNICALL NewGlobalRef(JNIEnv* env, jobject object)
    {
        return another(enter(env, "NewGlobalRef"), "NewGlobalRef", object, Kind::global);
    }

    static void JNICALL DeleteGlobalRef(JNIEnv* env, jobject object) { erase(env, object, Kind::global); }

    static jobject JNICALL NewLocalRef(JNIEnv* env, jobject object)
    {
        return another(enter(env, "NewLocalRef"), "NewLocalRef", object, Kind::local);
    }

    /// Any number can be asked for: that is what the function is for.
    static jobjectRefType JNICALL GetObjectRefType(JNIEnv* env, jobject object)
    {
        const Reference* const reference = enter(env, "GetObjectRefType").referenceOf(object);
        if (reference == nullptr)
            return JNIInvalidRefType;
        return reference->kind == Kind::global ? JNIGlobalRefType : JNILocalRefType;
    }

    static jobject another(StrictJniEnv& java, const char* entry, jobject object, Kind kind)
    {
        const Reference* const reference = java.referenceOf(object);
        EXPECT_NE(reference, nullptr) << "another reference to nothing";
        if (reference == nullptr || java.outOfReferences || java.fails(entry))
            return nullptr;
        return java.refer<jobject>(reference->object, kind);
    }

    static jobject JNICALL GetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index)
    {
        StrictJniEnv& java = enter(env, "GetObjectArrayElement");
        const auto* arrays = java.find<std::vector<Bytes>>(array, "GetObjectArrayElement");
        if (arrays == nullptr || java.fails("GetObjectArrayElement"))
            return nullptr;
        return java.refer<jobject>(arrays->at(static_cast<std::size_t>(index)), Kind::local);
    }

    static jbyteArray JNICALL NewByteArray(JNIEnv* env, jsize length)
    {
        StrictJniEnv& java = enter(env, "NewByteArray");
        EXPECT_GE(length, 0) << "NewByteArray";
        if (length < 0 || java.fails("NewByteArray"))
            return nullptr;
        return java.refer<jbyteArray>(Bytes(static_cast<std::size_t>(length)), Kind::local);
    }

    static jclass JNICALL GetObjectClass(JNIEnv* env, jobject object)
    {
        StrictJniEnv& java = enter(env, "GetObjectClass");
        return java.find<Call>(object, "GetObjectClass") == nullptr
                   ? nullptr
                   : java.refer<jclass>(Class{callClassName}, Kind::local);
    }

    static jclass JNICALL FindClass(JNIEnv* env, const char* name)
    {
        StrictJniEnv& java = enter(env, "FindClass");
        (void)java.lookUps[name]; // now it is there
        return java.fails("FindClass") ? nullptr : java.refer<jclass>(Class{name}, Kind::local);
    }

    static jmethodID JNICALL GetMethodID(JNIEnv* env, jclass owner, const char* name, const char* signature)
    {
        StrictJniEnv& java = enter(env, "GetMethodID");
        const auto* found = java.find<Class>(owner, "GetMethodID");
        if (found == nullptr || java.fails("GetMethodID"))
            return nullptr;
        java.lookUps[found->name].emplace(name, signature);
        EXPECT_EQ(found->name + "." + name + signature, std::string(callClassName) + ".report(J[B[B)V");
        return reinterpret_cast<jmethodID>(&reportMethod);
    }

    static void JNICALL CallVoidMethodV(JNIEnv* env, jobject object, jmethodID method, va_list arguments)
    {
        StrictJniEnv& java = enter(env, "CallVoidMethod");
        EXPECT_EQ(method, reinterpret_cast<jmethodID>(&reportMethod)) << "CallVoidMethod";
        const jlong code = va_arg(arguments, jlong);
        const auto step = va_arg(arguments, jbyteArray);
        const auto lines = va_arg(arguments, jbyteArray);
        const auto* text = java.find<Bytes>(lines, "CallVoidMethod");
        if (java.find<Call>(object, "CallVoidMethod") == nullptr || text == nullptr || java.fails("CallVoidMethod"))
            return;
        Report report{code, std::nullopt, std::string(text->begin(), text->end())};
        if (const auto name = java.content(step)) {
            report.step = std::string(name->begin(), name->end());
            java.exception = "NativeFailure";
        }
        java.reports.push_back(report);
    }

    static jint JNICALL ThrowNew(JNIEnv* env, jclass thrown, const char* message)
    {
        StrictJniEnv& java = enter(env, "ThrowNew");
        const auto* found = java.find<Class>(thrown, "ThrowNew");
        if (found == nullptr || java.fails("ThrowNew"))
            return JNI_ERR;
        java.lookUps[found->name].insert(native_image::thrownConstructor);
        java.exception = found->name + ": " + message;
        return JNI_OK;
    }

    static jint JNICALL RegisterNatives(JNIEnv* env, jclass owner, const JNINativeMethod* methods, jint count)
    {
        StrictJniEnv& java = enter(env, "RegisterNatives");
        const auto* found = java.find<Class>(owner, "RegisterNatives");
        if (found == nullptr || java.fails("RegisterNatives"))
            return JNI_ERR;
        EXPECT_EQ(found->name, callClassName);
        for (jint i = 0; i < count; ++i)
            java.registered.push_back({methods[i].name, methods[i].signature, methods[i].fnPtr});
        return JNI_OK;
    }
};

const JNINativeInterface_& StrictJniEnv::functionTable()
{
    static const JNINativeInterface_ table = [] {
        JNINativeInterface_ entries = refusingFunctionTable();
        entries.ExceptionCheck = Entries::ExceptionCheck;
        entries.DeleteLocalRef = Entries::DeleteLocalRef;
        entries.DeleteGlobalRef = Entries::DeleteGlobalRef;
        entries.GetArrayLength = Entries::GetArrayLength;
        entries.GetByteArrayRegion = Entries::GetByteArrayRegion;
        entries.SetByteArrayRegion = Entries::SetByteArrayRegion;
        entries.GetLongArrayRegion = Entries::GetLongArrayRegion;
        entries.NewGlobalRef = Entries::NewGlobalRef;
        entries.NewLocalRef = Entries::NewLocalRef;
        entries.GetObjectRefType = Entries::GetObjectRefType;
        entries.GetObjectArrayElement = Entries::GetObjectArrayElement;
        entries.NewByteArray = Entries::NewByteArray;
        entries.GetObjectClass = Entries::GetObjectClass;
        entries.FindClass = Entries::FindClass;
        entries.GetMethodID = Entries::GetMethodID;
        entries.CallVoidMethodV = Entries::CallVoidMethodV;
        entries.ThrowNew = Entries::ThrowNew;
        entries.RegisterNatives = Entries::RegisterNatives;
        return entries;
    }();
    return table;
}

StrictJniEnv::StrictJniEnv()
{
    env_.functions = &functionTable();
    env_.java = this;
}

jclass StrictJniEnv::callClass()
{
    return refer<jclass>(Class{callClassName}, Kind::argument);
}

jobject StrictJniEnv::call()
{
    return refer<jobject>(Call(), Kind::argument);
}

jbyteArray StrictJniEnv::bytes(Bytes content)
{
    return refer<jbyteArray>(std::move(content), Kind::argument);
}

jobjectArray StrictJniEnv::byteArrays(std::vector<Bytes> contents)
{
    return refer<jobjectArray>(std::move(contents), Kind::argument);
}

jlongArray StrictJniEnv::longs(Longs content)
{
    return refer<jlongArray>(std::move(content), Kind::argument);
}

std::optional<StrictJniEnv::Bytes> StrictJniEnv::content(jbyteArray array) const
{
    if (array == nullptr)
        return std::nullopt;
    return std::get<Bytes>(reinterpret_cast<const Reference*>(array)->object);
}

std::size_t StrictJniEnv::globalReferences() const
{
    return static_cast<std::size_t>(std::count_if(references_.begin(), references_.end(),
                                                  [](const Reference& r) { return r.kind == Kind::global; }));
}

void StrictJniEnv::resetReferences()
{
    references_.remove_if([](const Reference& reference) { return reference.kind == Kind::local; });
    mostReferences_ = 0;
}
