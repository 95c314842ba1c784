// SPDX-License-Identifier: Apache-2.0
#include "tests/support/transcript.h"

#include "tests/support/captured_output.h"

#include <algorithm>
#include <cstring>

namespace scripted {
namespace {

bool printable(const unsigned char* bytes, unsigned long length)
{
    return std::all_of(bytes, bytes + length,
                       [](unsigned char byte) { return byte >= 0x20 && byte < 0x7f && byte != '"'; });
}

std::string lengthText(unsigned long length)
{
    return " [" + std::to_string(length) + "]";
}

template <class Text>
std::string list(CK_ULONG count, const char* open, Text text, const char* close)
{
    std::string result = open;
    for (CK_ULONG i = 0; i < count; ++i)
        result += (i == 0 ? "" : ", ") + text(i);
    return result + close;
}

std::string valueText(const CK_ATTRIBUTE& attribute)
{
    CK_ULONG number = 0;
    if (attribute.pValue == nullptr || attribute.ulValueLen != sizeof number)
        return runText(attribute.pValue, attribute.ulValueLen);
    std::memcpy(&number, attribute.pValue, sizeof number);
    switch (attribute.type) {
    case CKA_CLASS: return className(number) + lengthText(sizeof number);
    case CKA_KEY_TYPE: return keyTypeName(number) + lengthText(sizeof number);
    case CKA_MODULUS_BITS: return std::to_string(number) + lengthText(sizeof number);
    default: return runText(attribute.pValue, attribute.ulValueLen);
    }
}

void appendPrinted(std::string& story, const std::string& printed)
{
    for (std::size_t begin = 0; begin < printed.size();) {
        const std::size_t end = printed.find('\n', begin);
        story += (end == std::string::npos ? "|…" : "| ") + printed.substr(begin, end - begin) + '\n';
        begin = end == std::string::npos ? printed.size() : end + 1;
    }
}

} // namespace

void Transcript::add(std::string line, std::size_t printedBefore)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (onLine)
        onLine(line);
    entries_.push_back({std::move(line), printedBefore});
}

void Transcript::add(std::string line)
{
    add(std::move(line), CapturedOutput::printed());
}

std::string Transcript::calls() const
{
    return story("");
}

std::string Transcript::story(const std::string& output) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    std::string story;
    std::size_t told = 0;
    for (const Entry& entry : entries_) {
        const std::size_t printed = std::min(std::max(entry.printedBefore, told), output.size());
        appendPrinted(story, output.substr(told, printed - told));
        told = printed;
        story += entry.line + '\n';
    }
    appendPrinted(story, output.substr(told));
    return story;
}

std::size_t Transcript::size() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return entries_.size();
}

void Transcript::clear()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
}

std::string runText(const void* bytes, unsigned long length)
{
    if (bytes == nullptr)
        return "null" + lengthText(length);
    const auto* begin = static_cast<const unsigned char*>(bytes);
    if (printable(begin, length))
        return '"' + std::string(begin, begin + length) + '"' + lengthText(length);
    std::string text;
    for (unsigned long i = 0; i < length; ++i) {
        text += "0123456789abcdef"[begin[i] >> 4];
        text += "0123456789abcdef"[begin[i] & 0x0f];
    }
    return text + lengthText(length);
}

std::string bufferText(const void* bytes, unsigned long length)
{
    if (bytes == nullptr)
        return "null";
    const auto* begin = static_cast<const unsigned char*>(bytes);
    if (std::all_of(begin, begin + length, [](unsigned char byte) { return byte == 0; }))
        return "zeros" + lengthText(length);
    return runText(bytes, length);
}

std::string templateText(const CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    if (attributes == nullptr)
        return runText(nullptr, count);
    return list(
        count, "{", [&](CK_ULONG i) { return attributeName(attributes[i].type) + " " + valueText(attributes[i]); },
        "}");
}

std::string queryText(const CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    return list(
        count, "{",
        [&](CK_ULONG i) {
            const CK_ATTRIBUTE& attribute = attributes[i];
            const std::string value = attribute.pValue == nullptr ? runText(nullptr, attribute.ulValueLen)
                                                                  : bufferText(attribute.pValue, attribute.ulValueLen);
            return attributeName(attribute.type) + " " + value;
        },
        "}");
}

std::string lengthsText(const CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    return list(
        count, "[",
        [&](CK_ULONG i) {
            const CK_ULONG length = attributes[i].ulValueLen;
            return length == CK_UNAVAILABLE_INFORMATION ? std::string("none") : std::to_string(length);
        },
        "]");
}

std::string handlesText(const CK_ULONG* handles, CK_ULONG count)
{
    if (handles == nullptr)
        return "null";
    return list(
        count, "{", [&](CK_ULONG i) { return std::to_string(handles[i]); }, "}");
}

std::string stringText(const char* text)
{
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string pointerText(const void* pointer)
{
    return pointer == nullptr ? "null" : "set";
}

} // namespace scripted
