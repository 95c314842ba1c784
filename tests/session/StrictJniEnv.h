// SPDX-License-Identifier: Apache-2.0
// A JNI environment without a virtual machine behind it, for the natives of the open token. It fails the running test
// for what a virtual machine punishes late or not at all: a call beside a pending exception, a region outside its
// array, a reference that was never given or is released already. Functions that the natives do not need fail by their
// names.
//
// One environment belongs to one thread.
#pragma once

#include "tests/support/native_image.h"
#include "tests/support/transcript.h"

#include <jni.h>

#include <functional>
#include <list>
#include <optional>
#include <string>
#include <variant>
#include <vector>

class StrictJniEnv {
public:
    using Bytes = scripted::Bytes;
    using Longs = std::vector<jlong>;

    /// What NativeCall.report was told.
    struct Report {
        jlong code;
        std::optional<std::string> step;
        std::string lines;
    };

    struct RegisteredNative {
        std::string name;
        std::string signature;
        void* function;
    };

    StrictJniEnv();
    StrictJniEnv(const StrictJniEnv&) = delete;
    StrictJniEnv& operator=(const StrictJniEnv&) = delete;

    /// What a native receives as its first argument.
    [[nodiscard]] JNIEnv* get() { return &env_; }

    // --- Java objects ---

    [[nodiscard]] jclass callClass();
    [[nodiscard]] jobject call();
    [[nodiscard]] jbyteArray bytes(Bytes content);
    [[nodiscard]] jobjectArray byteArrays(std::vector<Bytes> contents);
    [[nodiscard]] jlongArray longs(Longs content);

    /// The content of a byte[] that a native has made; none for null.
    [[nodiscard]] std::optional<Bytes> content(jbyteArray array) const;

    // --- What the natives have done to Java ---

    std::vector<RegisteredNative> registered;
    std::vector<Report> reports;
    native_image::LookUps lookUps;

    /// The pending exception: its class and message; empty for none. A reported failure leaves "NativeFailure".
    std::string exception;

    /// The most references that a native has held at once, since resetReferences().
    [[nodiscard]] std::size_t mostReferences() const { return mostReferences_; }

    /// Forgets the references that the last native has left, as a return to Java does.
    void resetReferences();

    /// Makes the n-th call from now on (1 is the next one) of a function that can fail leave an exception.
    void failCall(unsigned n) { untilFailure_ = n; }

    /// Whether that call has come.
    [[nodiscard]] bool hasFailed() const { return untilFailure_ == 0; }

    /// Lets no reference be made any more, which is told by null alone.
    bool outOfReferences = false;

    /// How many global references there are.
    [[nodiscard]] std::size_t globalReferences() const;

    /// Is told address and length of every copy that a native takes of a byte array.
    std::function<void(const void* copy, std::size_t length)> onCopy;

private:
    struct Env : JNIEnv {
        StrictJniEnv* java = nullptr;
    };
    struct Class {
        std::string name;
    };
    struct Call {};
    using Object = std::variant<Class, Call, Bytes, std::vector<Bytes>, Longs>;
    enum class Kind { argument, local, global };
    struct Reference {
        Object object;
        Kind kind; ///< the latter two are made by a native
    };
    struct Entries;

    static const JNINativeInterface_& functionTable();

    template <typename Handle>
    [[nodiscard]] Handle refer(Object object, Kind kind);
    template <typename Type>
    [[nodiscard]] Type* find(const void* handle, const char* entry);
    [[nodiscard]] Reference* referenceOf(const void* handle);
    [[nodiscard]] bool fails(const char* entry);

    Env env_;
    std::list<Reference> references_; ///< a handle is the address of one of these
    std::size_t mostReferences_ = 0;
    std::optional<unsigned> untilFailure_;
};
