// SPDX-License-Identifier: Apache-2.0
// The Java objects that the recording JNI environment knows. Each class has what the native methods use of it.
//
// A handle (jobject, jstring, jmethodID, …) is the address of its JavaObject; RecordingJniEnv owns the objects and
// checks every handle that comes back before it follows it.
#pragma once

#include <jni.h>

#include <string>
#include <utility>
#include <vector>

struct JavaMethod;

struct JavaObject {
    explicit JavaObject(std::string name) : name(std::move(name)) {}
    virtual ~JavaObject() = default;
    JavaObject(const JavaObject&) = delete;
    JavaObject& operator=(const JavaObject&) = delete;

    /// The object's contents, as tests compare them.
    [[nodiscard]] virtual std::string content() const { return name; }

    /// Runs a method of one argument; false when the object's class has no such method.
    [[nodiscard]] virtual bool invoke(const JavaMethod&, JavaObject&) { return false; }

    const std::string name; ///< what the transcript calls the object
};

struct JavaClass : JavaObject {
    using JavaObject::JavaObject;
};

struct JavaMethod : JavaObject {
    JavaMethod(std::string owner, std::string name, std::string signature)
        : JavaObject(std::move(name)), owner(std::move(owner)), signature(std::move(signature))
    {
    }

    /// Such as: java/lang/Byte.<init>(B)V
    [[nodiscard]] std::string qualifiedName() const { return owner + "." + name + signature; }

    const std::string owner; ///< the class
    const std::string signature;
};

struct JavaString : JavaObject {
    JavaString(std::string name, std::string utf) : JavaObject(std::move(name)), utf(std::move(utf)) {}
    std::string content() const override { return '"' + utf + '"'; }

    const std::string utf; ///< modified UTF-8
};

struct JavaByte : JavaObject {
    explicit JavaByte(jbyte value) : JavaObject("Byte " + std::to_string(value)) {}
};

struct JavaByteArray : JavaObject {
    JavaByteArray(std::string name, std::vector<unsigned char> bytes)
        : JavaObject(std::move(name)), bytes(std::move(bytes))
    {
    }

    const std::vector<unsigned char> bytes;
};

struct JavaSequence : JavaObject {
    JavaSequence(std::string name, std::vector<JavaObject*> elements)
        : JavaObject(std::move(name)), elements(std::move(elements))
    {
    }

    std::vector<JavaObject*> elements;
};

/// String[] or byte[][].
struct JavaObjectArray : JavaSequence {
    using JavaSequence::JavaSequence;
};

struct JavaArrayList : JavaSequence {
    using JavaSequence::JavaSequence;
    bool invoke(const JavaMethod& method, JavaObject& argument) override
    {
        if (method.qualifiedName() != "java/util/ArrayList.add(Ljava/lang/Object;)Z")
            return false;
        elements.push_back(&argument);
        return true;
    }
};

/// Remembers the setters called on it, such as: setType("data") setLabel("") setId("01ab")
struct JavaObjectAttribute : JavaObject {
    static inline const std::string className = "com/tovr/smartcard/vornixtoken/api/Pkcs11ObjectAttribute";

    using JavaObject::JavaObject;
    std::string content() const override { return setters; }
    bool invoke(const JavaMethod& method, JavaObject& argument) override
    {
        for (const char* setter : {"setType", "setLabel", "setId", "setKeyType"}) {
            if (method.qualifiedName() != className + "." + setter + "(Ljava/lang/String;)V")
                continue;
            setters += (setters.empty() ? "" : " ") + method.name + "(" + argument.content() + ")";
            return true;
        }
        return false;
    }

    std::string setters;
};
