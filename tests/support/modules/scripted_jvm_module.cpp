// SPDX-License-Identifier: Apache-2.0
// libscripted_jvm_module.so: the scripted module without a test program, for tests that run in a Java virtual machine.
//
// One reader "Scripted Reader 0" (slot 7) of "Scripted Works"; the token's fields are those of scripted::Token, its
// user PIN is "12345678", the security officer's "87654321" (anything else answers 0xA0); the objects are
// scripted::sampleObjects(). Changes last as long as the process: the file stays mapped after it was unloaded. A test
// that wants an untouched token loads a copy of the file under a name of its own.
//
// Every call is appended as a line to the file that SCRIPTED_MODULE_TRANSCRIPT names, if it is set. A function that the
// library must never call ends the process.
//
// libpadding_jvm_module.so is the same but for its signatures and requests: the sequence 30 03 02 01 07, in a buffer of
// which it says that all of it counts.
#include "tests/support/scripted_module.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace scripted {
namespace {

struct Process {
    Transcript transcript;
    ScriptedModule module{transcript};

    Process()
    {
        module.addSampleObjects();
        if (const char* const path = std::getenv("SCRIPTED_MODULE_TRANSCRIPT"))
            transcript.onLine = [file = std::string(path)](const std::string& line) { append(file, line); };
#ifdef PADDED_ANSWERS
        module.C_TOVR_pkcs7Sign = [](auto, auto, auto, auto, CK_BYTE* signature, CK_ULONG* length, auto...) {
            return deliverPadded(signature, length);
        };
        module.C_TOVR_CreateCSR = [](auto, auto, auto, auto, CK_BYTE* csr, CK_ULONG* length, auto...) {
            return deliverPadded(csr, length);
        };
#endif
    }

#ifdef PADDED_ANSWERS
    static CK_RV deliverPadded(CK_BYTE* buffer, CK_ULONG* length)
    {
        static constexpr CK_BYTE sequence[] = {0x30, 0x03, 0x02, 0x01, 0x07};
        *length = 64;
        if (buffer != nullptr)
            std::copy(std::begin(sequence), std::end(sequence), buffer);
        return CKR_OK;
    }
#endif

    static void append(const std::string& file, const std::string& line)
    {
        std::FILE* const stream = std::fopen(file.c_str(), "a");
        if (stream == nullptr)
            forbiddenCall("fopen of " + file);
        std::fputs((line + "\n").c_str(), stream);
        std::fclose(stream);
    }
};

} // namespace

void forbiddenCall(const std::string& function)
{
    std::fprintf(stderr, "scripted module: unexpected %s\n", function.c_str());
    std::abort();
}

} // namespace scripted

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    // Never destroyed: a thread of the virtual machine may still be inside a call when the process ends.
    static auto& process = *new scripted::Process;
    static_cast<void>(process);
    return scripted::deliverFunctionList(list);
}
