// SPDX-License-Identifier: Apache-2.0
// A JNI environment without a virtual machine behind it: a function table whose used entries act on JavaObjects and add
// each call to the test's transcript, and whose other entries fail the running test by name.
//
// It also fails the test for faults that a virtual machine does not report: a null or foreign handle, an index or a
// region outside its array, an unexpected copy flag, characters of a string that are not released exactly once and
// before the next call to anything.
#pragma once

#include "tests/jni/java_objects.h"

#include "tests/support/transcript.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class RecordingJniEnv {
public:
    using Bytes = scripted::Bytes;
    using Lines = std::vector<std::string>;

    /// Watches all lines of `transcript` for as long as it lives.
    explicit RecordingJniEnv(scripted::Transcript& transcript);
    ~RecordingJniEnv();
    RecordingJniEnv(const RecordingJniEnv&) = delete;
    RecordingJniEnv& operator=(const RecordingJniEnv&) = delete;

    /// What a native method receives as its first argument.
    [[nodiscard]] JNIEnv* get() { return &env_; }

    // --- Java objects; `name` is what the transcript calls them, name[0], name[1], … their elements ---

    [[nodiscard]] jstring string(const std::string& name, const std::string& modifiedUtf8);
    [[nodiscard]] jbyteArray bytes(const std::string& name, const Bytes& content);
    [[nodiscard]] jobjectArray strings(const std::string& name, const Lines& texts);
    [[nodiscard]] jobjectArray byteArrays(const std::string& name, const std::vector<Bytes>& contents);
    /// A String[] of nulls.
    [[nodiscard]] jobjectArray outputArray(const std::string& name, std::size_t length = 1);
    /// A java.util.ArrayList that holds these strings already.
    [[nodiscard]] jobject list(const std::string& name, const Lines& present = {});

    /// Is told address and length of every copy that a native method takes of a byte array.
    std::function<void(const void* copy, std::size_t length)> onCopy;

    /// Makes GetMethodID find no method of this name.
    void hideMethod(const std::string& name) { hiddenMethods_.insert(name); }

    /// The present elements of a list or an array: "text" for a string, Byte -128, setters called, null.
    [[nodiscard]] Lines elements(jobject sequence) const;

private:
    struct Env : JNIEnv {
        RecordingJniEnv* recorder = nullptr;
    };
    struct Entries;
    struct Loan {
        const JavaString* string;
        std::unique_ptr<char, decltype(&std::free)> characters;
    };

    static const JNINativeInterface_& functionTable();

    template <typename Object, typename... Arguments>
    [[nodiscard]] Object* own(Arguments&&... arguments);
    template <typename Handle, typename Object, typename... Arguments>
    [[nodiscard]] Handle make(Arguments&&... arguments);
    template <typename Object>
    [[nodiscard]] Object* checked(const void* handle, const char* entry) const;
    [[nodiscard]] std::vector<JavaObject*> stringObjects(const std::string& name, const Lines& texts);

    void record(const std::string& line) { transcript_.add(line); }
    [[nodiscard]] const char* lend(const JavaString& string);
    void takeBack(const JavaString* string, const char* characters);

    scripted::Transcript& transcript_;
    Env env_;
    std::map<const void*, std::unique_ptr<JavaObject>> objects_;
    std::map<const char*, Loan> loans_;
    std::set<std::string> hiddenMethods_;
};

template <typename Object, typename... Arguments>
Object* RecordingJniEnv::own(Arguments&&... arguments)
{
    auto object = std::make_unique<Object>(std::forward<Arguments>(arguments)...);
    Object* address = object.get();
    objects_[static_cast<JavaObject*>(address)] = std::move(object);
    return address;
}

template <typename Handle, typename Object, typename... Arguments>
Handle RecordingJniEnv::make(Arguments&&... arguments)
{
    return reinterpret_cast<Handle>(static_cast<JavaObject*>(own<Object>(std::forward<Arguments>(arguments)...)));
}

/// The object behind a handle; null, with the test failed, for a null handle, a foreign one or one of another class.
template <typename Object>
Object* RecordingJniEnv::checked(const void* handle, const char* entry) const
{
    const auto found = objects_.find(handle);
    auto* object = found == objects_.end() ? nullptr : dynamic_cast<Object*>(found->second.get());
    EXPECT_NE(object, nullptr) << entry << " with "
                               << (handle != nullptr ? "a handle of another kind" : "a null handle");
    return object;
}
