// SPDX-License-Identifier: Apache-2.0
// Natives: one Java object that all class loaders of the process can find.
//
// Java has no place where the copies of a class in several class loaders could meet, but for maps of texts. So a text
// stands there, and names a global reference of this process.
#include "session/native_call.h"
#include "session/natives.h"

#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <memory>
#include <string>

namespace {

/// The process is part of the name: a child that inherits its parent's properties must not take it for its own.
std::string processPrefix()
{
    return std::to_string(getpid()) + ":";
}

/// A new reference. Where there is no room for it, a virtual machine may tell so by null alone.
jobject made(JNIEnv* env, jobject reference)
{
    throwIfPending(env);
    if (reference == nullptr)
        throw std::bad_alloc();
    return reference;
}

} // namespace

jbyteArray natives::keepShared(JNIEnv* env, jobject, jobject object)
{
    return guarded(env, [&] {
        const auto release = [env](jobject reference) { env->DeleteGlobalRef(reference); };
        std::unique_ptr<_jobject, decltype(release)> reference(made(env, env->NewGlobalRef(object)), release);
        const std::string name = processPrefix() + std::to_string(reinterpret_cast<std::uintptr_t>(reference.get()));
        const jbyteArray bytes = newByteArray(env, reinterpret_cast<const unsigned char*>(name.data()), name.size());
        (void)reference.release(); // kept for good: others find it until the process ends
        return bytes;
    });
}

jobject natives::findShared(JNIEnv* env, jobject, jbyteArray name)
{
    return guarded(env, [&]() -> jobject {
        Name copy(env, name);
        const std::string prefix = processPrefix();
        std::string_view text = copy.text();
        if (text.substr(0, prefix.size()) != prefix)
            return nullptr;
        text.remove_prefix(prefix.size());
        std::uintptr_t number = 0;
        const char* const end = text.data() + text.size();
        const auto parsed = std::from_chars(text.data(), end, number);
        if (parsed.ec != std::errc() || parsed.ptr != end)
            return nullptr;
        const auto reference = reinterpret_cast<jobject>(number); // NOLINT(performance-no-int-to-ptr)
        return env->GetObjectRefType(reference) == JNIGlobalRefType ? made(env, env->NewLocalRef(reference)) : nullptr;
    });
}
