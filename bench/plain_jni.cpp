// SPDX-License-Identifier: Apache-2.0
// Jobs of an open session as plain JNI functions: the module calls that the open token makes and the Java objects that
// it returns, with no failure looked at and no lock taken.
#include "include/tovr_pkcs11.h"

#include <dlfcn.h>
#include <jni.h>

#include <array>
#include <string>
#include <vector>

namespace {

CK_FUNCTION_LIST_PTR list = nullptr;
CK_SESSION_HANDLE session = 0;

const char* className(CK_OBJECT_CLASS objectClass)
{
    switch (objectClass) {
    case CKO_CERTIFICATE: return "certificate";
    case CKO_PUBLIC_KEY: return "public key";
    case CKO_PRIVATE_KEY: return "private key";
    default: return "unknown";
    }
}

std::string hexadecimal(const unsigned char* bytes, std::size_t count)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] / 16];
        text += digits[bytes[i] % 16];
    }
    return text;
}

std::vector<CK_OBJECT_HANDLE> findAll()
{
    std::vector<CK_OBJECT_HANDLE> objects;
    CK_OBJECT_HANDLE object = 0;
    CK_ULONG count = 0;
    (void)list->C_FindObjectsInit(session, nullptr, 0); // the instant module's functions cannot fail
    while (list->C_FindObjects(session, &object, 1, &count) == CKR_OK && count != 0)
        objects.push_back(object);
    (void)list->C_FindObjectsFinal(session);
    return objects;
}

/// Asks whether login and card are there, as the open token does behind a search.
void checkSession()
{
    CK_SESSION_INFO info{};
    (void)list->C_GetSessionInfo(session, &info); // as above
    CK_SLOT_INFO slot{};
    (void)list->C_GetSlotInfo(info.slotID, &slot);
}

/// One object of a listing, as the natives return it: four texts.
class Description {
public:
    explicit Description(CK_OBJECT_HANDLE object)
    {
        // The code for an attribute that an object does not have is that of a success.
        (void)list->C_GetAttributeValue(session, object, attributes_.data(), attributes_.size());
        for (std::size_t i = 0; i < attributes_.size(); ++i)
            attributes_[i].pValue = attributes_[i].ulValueLen > room ? nullptr : values_[i].data();
        (void)list->C_GetAttributeValue(session, object, attributes_.data(), attributes_.size());
    }

    std::array<std::string, 4> texts() const
    {
        return {className(*reinterpret_cast<const CK_OBJECT_CLASS*>(values_[0].data())),
                std::string(reinterpret_cast<const char*>(values_[2].data()), attributes_[2].ulValueLen),
                hexadecimal(values_[1].data(), attributes_[1].ulValueLen),
                attributes_[3].pValue == nullptr ? "" : "RSA"};
    }

private:
    static constexpr std::size_t room = 64;

    std::array<CK_ATTRIBUTE, 4> attributes_{
        {{CKA_CLASS, nullptr, 0}, {CKA_ID, nullptr, 0}, {CKA_LABEL, nullptr, 0}, {CKA_KEY_TYPE, nullptr, 0}}};
    alignas(CK_OBJECT_CLASS) std::array<std::array<unsigned char, room>, 4> values_{};
};

std::string text(JNIEnv* env, jstring string)
{
    const char* characters = env->GetStringUTFChars(string, nullptr);
    std::string copy = characters;
    env->ReleaseStringUTFChars(string, characters);
    return copy;
}

std::vector<unsigned char> bytes(JNIEnv* env, jbyteArray array)
{
    std::vector<unsigned char> copy(static_cast<std::size_t>(env->GetArrayLength(array)));
    env->GetByteArrayRegion(array, 0, static_cast<jsize>(copy.size()), reinterpret_cast<jbyte*>(copy.data()));
    return copy;
}

} // namespace

extern "C" {

JNIEXPORT void JNICALL Java_bench_PlainJni_open(JNIEnv* env, jclass, jstring module)
{
    void* loaded = dlopen(text(env, module).c_str(), RTLD_NOW);
    const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(loaded, "C_GetFunctionList"));
    (void)getFunctionList(&list);
    (void)list->C_OpenSession(0, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session);
}

JNIEXPORT jobject JNICALL Java_bench_PlainJni_listObjects(JNIEnv* env, jclass)
{
    jclass lists = env->FindClass("java/util/ArrayList");
    jclass records = env->FindClass("com/tovr/smartcard/vornixtoken/TokenObject");
    jmethodID add = env->GetMethodID(lists, "add", "(Ljava/lang/Object;)Z");
    jmethodID make = env->GetMethodID(records, "<init>",
                                      "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V");
    jobject all = env->NewObject(lists, env->GetMethodID(lists, "<init>", "()V"));
    for (const CK_OBJECT_HANDLE object : findAll()) {
        std::array<jstring, 4> texts{};
        const std::array<std::string, 4> described = Description(object).texts();
        for (std::size_t i = 0; i < texts.size(); ++i)
            texts[i] = env->NewStringUTF(described[i].c_str());
        jobject record = env->NewObject(records, make, texts[0], texts[1], texts[2], texts[3]);
        (void)env->CallBooleanMethod(all, add, record); // is always true
        env->DeleteLocalRef(record);
        for (jstring text : texts)
            env->DeleteLocalRef(text);
    }
    checkSession();
    return all;
}

JNIEXPORT jbyteArray JNICALL Java_bench_PlainJni_readCertificate(JNIEnv* env, jclass, jstring label, jbyteArray id)
{
    CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
    std::string name = text(env, label);
    std::vector<unsigned char> number = bytes(env, id);
    std::array<CK_ATTRIBUTE, 3> criteria{{{CKA_CLASS, &objectClass, sizeof objectClass},
                                          {CKA_LABEL, name.data(), name.size()},
                                          {CKA_ID, number.data(), number.size()}}};
    CK_OBJECT_HANDLE object = 0;
    CK_ULONG count = 0;
    (void)list->C_FindObjectsInit(session, criteria.data(), criteria.size()); // as above
    (void)list->C_FindObjects(session, &object, 1, &count);
    CK_ATTRIBUTE value{CKA_VALUE, nullptr, 0};
    (void)list->C_GetAttributeValue(session, object, &value, 1);
    std::vector<unsigned char> certificate(value.ulValueLen);
    value.pValue = certificate.data();
    (void)list->C_GetAttributeValue(session, object, &value, 1);
    (void)list->C_FindObjectsFinal(session);
    checkSession();
    const auto length = static_cast<jsize>(certificate.size());
    jbyteArray array = env->NewByteArray(length);
    env->SetByteArrayRegion(array, 0, length, reinterpret_cast<const jbyte*>(certificate.data()));
    return array;
}
}
