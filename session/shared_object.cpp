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

namespace {

/// The process is part of the name: a child that inherits its parent's properties must not take it for its own.
std::string processPrefix()
{
    return std::to_string(getpid()) + ":";
}

} // namespace

jbyteArray natives::keepShared(JNIEnv* env, jobject call, jobject object)
{
    return fetch(env, call, [&](const Diagnostics&, Bytes& name) {
        const jobject reference = env->NewGlobalRef(object); // for good: others find it until the process ends
        if (reference == nullptr)
            throw std::bad_alloc();
        const std::string text = processPrefix() + std::to_string(reinterpret_cast<std::uintptr_t>(reference));
        name.assign(text.begin(), text.end());
        return Outcome(CKR_OK, "NewGlobalRef");
    });
}

jobject natives::findShared(JNIEnv* env, jobject, jbyteArray name)
{
    return guarded(env, [&]() -> jobject {
        const ByteArray copy(env, name);
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
        return env->GetObjectRefType(reference) == JNIGlobalRefType ? env->NewLocalRef(reference) : nullptr;
    });
}
