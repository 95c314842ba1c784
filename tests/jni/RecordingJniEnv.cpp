// SPDX-License-Identifier: Apache-2.0
#include "tests/jni/RecordingJniEnv.h"

#include <cstring>

namespace {

std::string indexed(const std::string& name, std::size_t index)
{
    return name + "[" + std::to_string(index) + "]";
}

} // namespace

RecordingJniEnv::RecordingJniEnv(scripted::Transcript& transcript) : transcript_(transcript)
{
    env_.functions = &functionTable();
    env_.recorder = this;
    transcript.onLine = [this](const std::string& line) {
        EXPECT_EQ(loans_.size(), 0u) << line << " while characters of a string are borrowed";
    };
}

RecordingJniEnv::~RecordingJniEnv()
{
    transcript_.onLine = nullptr;
    EXPECT_EQ(loans_.size(), 0u) << "characters of strings never given back";
}

jstring RecordingJniEnv::string(const std::string& name, const std::string& modifiedUtf8)
{
    return make<jstring, JavaString>(name, modifiedUtf8);
}

jbyteArray RecordingJniEnv::bytes(const std::string& name, const Bytes& content)
{
    return make<jbyteArray, JavaByteArray>(name, content);
}

jobjectArray RecordingJniEnv::strings(const std::string& name, const Lines& texts)
{
    return make<jobjectArray, JavaObjectArray>(name, stringObjects(name, texts));
}

jobjectArray RecordingJniEnv::byteArrays(const std::string& name, const std::vector<Bytes>& contents)
{
    std::vector<JavaObject*> elements;
    for (const Bytes& content : contents)
        elements.push_back(own<JavaByteArray>(indexed(name, elements.size()), content));
    return make<jobjectArray, JavaObjectArray>(name, elements);
}

jobjectArray RecordingJniEnv::outputArray(const std::string& name, std::size_t length)
{
    return make<jobjectArray, JavaObjectArray>(name, std::vector<JavaObject*>(length));
}

jobject RecordingJniEnv::list(const std::string& name, const Lines& present)
{
    return make<jobject, JavaArrayList>(name, stringObjects(name, present));
}

RecordingJniEnv::Lines RecordingJniEnv::elements(jobject sequence) const
{
    Lines contents;
    if (auto* object = checked<JavaSequence>(sequence, "elements"))
        for (const JavaObject* element : object->elements)
            contents.push_back(element != nullptr ? element->content() : "null");
    return contents;
}

std::vector<JavaObject*> RecordingJniEnv::stringObjects(const std::string& name, const Lines& texts)
{
    std::vector<JavaObject*> made;
    for (const std::string& text : texts)
        made.push_back(own<JavaString>(indexed(name, made.size()), text));
    return made;
}

const char* RecordingJniEnv::lend(const JavaString& string)
{
    const std::size_t size = string.utf.size() + 1;
    std::unique_ptr<char, decltype(&std::free)> characters(static_cast<char*>(std::malloc(size)), &std::free);
    std::memcpy(characters.get(), string.utf.c_str(), size);
    const char* address = characters.get();
    loans_.emplace(address, Loan{&string, std::move(characters)});
    return address;
}

void RecordingJniEnv::takeBack(const JavaString* string, const char* characters)
{
    const auto loan = loans_.find(characters);
    EXPECT_TRUE(loan != loans_.end() && loan->second.string == string)
        << "characters given back that were not lent of " << (string != nullptr ? string->name : "null");
    if (loan == loans_.end())
        return;
    std::memset(loan->second.characters.get(), '?', loan->second.string->utf.size()); // nobody may read on
    loans_.erase(loan);
}
