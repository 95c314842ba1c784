// SPDX-License-Identifier: Apache-2.0
// The frame of every native method: Java arguments in, one wrapper, one operation, results out.
//
// A method names its operation and its arguments in the operation's order:
//
//     return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::GetX509Certificate,
//                       ByteArray(pin), Text(label), ByteArray(id), ByteList(certificate));
//
// Each argument type below says how a Java value becomes the operation's parameters (`native`) and, for an output, how
// it goes back. The frame converts all binary arguments first, then the module path, the terminal name and all other
// texts, each group in Java order; it delivers the outputs after success only, while the module is still there.
#pragma once

#include "jni/marshalling.h"
#include "p11/P11Wrapper.h"
#include "p11/diagnostics.h"

#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

/// An argument that takes part in no step; the others replace what they need.
struct Argument {
    void readBinary(JNIEnv*) {}
    void readText(JNIEnv*) {}
    void deliver(JNIEnv*) {}
};

/// byte[] as pointer and length.
struct ByteArray : Argument {
    explicit ByteArray(jbyteArray array) : array(array) {}
    void readBinary(JNIEnv* env) { bytes = readBytes(env, array); }
    auto native() { return std::make_tuple(firstByte(bytes), bytes.size()); }

    jbyteArray array;
    SecretBytes bytes;
};

/// byte[][] as a list of byte vectors.
struct ByteArrays : Argument {
    explicit ByteArrays(jobjectArray arrays) : arrays(arrays) {}
    void readBinary(JNIEnv* env) { copies.read(env, arrays); }
    auto native() { return std::tie(copies.get()); }

    jobjectArray arrays;
    SecretByteArrays copies;
};

/// String as const char*.
struct Text : Argument {
    explicit Text(jstring string) : string(string) {}
    void readText(JNIEnv* env) { text = readString(env, string); }
    auto native() { return std::make_tuple(text.c_str()); }

    jstring string;
    std::string text;
};

/// String[] whose strings belong together in groups: a run of NUL-terminated strings and the number of whole groups.
struct TextGroups : Argument {
    TextGroups(jobjectArray strings, unsigned long groupSize) : strings(strings), groupSize(groupSize) {}
    void readText(JNIEnv* env) { run = readStrings(env, strings); }
    auto native() { return std::make_tuple(firstByte(run.bytes), run.count / groupSize); }

    jobjectArray strings;
    unsigned long groupSize;
    StringRun run;
};

/// long as an unsigned number.
struct Number : Argument {
    explicit Number(jlong value) : value(static_cast<unsigned long>(value)) {}
    auto native() { return std::make_tuple(value); }

    unsigned long value;
};

/// ArrayList<Byte> that takes an output's bytes.
struct ByteList : Argument {
    explicit ByteList(jobject list) : list(list) {}
    auto native() { return std::tie(bytes); }
    void deliver(JNIEnv* env) { appendBytes(env, list, bytes); }

    jobject list;
    Bytes bytes;
};

/// Two ArrayList<Byte> that take a public key. Without a modulus there is no key, and neither list is touched.
struct PublicKeyLists : Argument {
    PublicKeyLists(jobject modulus, jobject exponent) : modulus(modulus), exponent(exponent) {}
    auto native() { return std::tie(modulus.bytes, exponent.bytes); }
    void deliver(JNIEnv* env)
    {
        if (modulus.bytes.empty())
            return;
        modulus.deliver(env);
        exponent.deliver(env);
    }

    ByteList modulus;
    ByteList exponent;
};

/// ArrayList<Pkcs11ObjectAttribute> that takes a listing.
struct ObjectList : Argument {
    explicit ObjectList(jobject list) : list(list) {}
    auto native() { return std::tie(objects); }
    void deliver(JNIEnv* env) { appendObjects(env, list, objects); }

    jobject list;
    std::vector<ObjectAttr> objects;
};

/// String[] whose element 0 takes a text, held by the operation as bytes or as a string.
template <typename Held>
struct FirstElement : Argument {
    explicit FirstElement(jobjectArray array) : array(array) {}
    auto native() { return std::tie(held); }
    void deliver(JNIEnv* env) { storeFirst(env, array, std::string(held.begin(), held.end())); }

    jobjectArray array;
    Held held;
};

// The two names that nearly every method takes, told apart by their types: both are Strings.
struct TerminalName {
    jstring string;
};
struct ModulePath {
    jstring string;
};

/// Runs `job` on an initialised wrapper of the module. Returns its code, or 1 when the module cannot be initialised.
template <typename Job>
[[nodiscard]] jlong runOnModule(const std::string& modulePath, Job job)
{
    P11Wrapper wrapper(modulePath.c_str());
    if (!wrapper.Initialize()) {
        diagnose(standardOutput, "Failed to Initialize P11Wrapper");
        return 1;
    }
    return static_cast<jlong>(job(wrapper));
}

/// Whether an operation takes a slot and then, one for one, what the arguments become.
template <typename Operation, typename Parameters>
struct Takes : std::false_type {
};
template <typename Operation, typename... Parameters>
struct Takes<Operation, std::tuple<Parameters...>>
    : std::is_invocable_r<CK_RV, Operation, P11Wrapper&, CK_SLOT_ID, Parameters&...> {
};

/// The frame of a method that works on the token in the reader `terminalName`. Returns the code of the first step that
/// failed, or 0.
template <typename Operation, typename... Arguments>
[[nodiscard]] jlong runOnToken(JNIEnv* env, TerminalName terminalName, ModulePath modulePath, Operation operation,
                               Arguments&&... arguments)
{
    constexpr bool match = Takes<Operation, decltype(std::tuple_cat(arguments.native()...))>::value;
    static_assert(match, "these arguments, in this order, are not what the operation takes behind the slot");
    if constexpr (match) { // else the message above is all that the compiler says
        (arguments.readBinary(env), ...);
        const std::string module = readString(env, modulePath.string);
        const std::string terminal = readString(env, terminalName.string);
        (arguments.readText(env), ...);

        return runOnModule(module, [&](P11Wrapper& wrapper) {
            CK_SLOT_ID slot = 0; // a module without slots leaves it as it is and counts as success
            CK_RV rv = wrapper.GetSlotIDByTerminalName(terminal.c_str(), &slot);
            if (rv != CKR_OK)
                return rv;
            rv = std::apply([&](auto&&... parameters) { return (wrapper.*operation)(slot, parameters...); },
                            std::tuple_cat(arguments.native()...));
            if (rv == CKR_OK)
                (arguments.deliver(env), ...);
            return rv;
        });
    }
}
