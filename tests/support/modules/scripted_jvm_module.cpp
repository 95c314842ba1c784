// SPDX-License-Identifier: Apache-2.0
// libscripted_jvm_module.so: the scripted module without a test program, for tests that run in a Java virtual machine.
//
// One reader "Scripted Reader 0" (slot 7) of "Scripted Works"; the token's fields are those of scripted::Token, its
// user PIN is "12345678", the security officer's "87654321" (anything else answers 0xA0); the objects are
// scripted::sampleObjects(). Changes last as long as the process: the file stays mapped after it was unloaded. A test
// that wants an untouched token loads a copy of the file under a name of its own.
//
// Orders stand in a file that has the module's own name with ".orders" behind it. The module takes them with its next
// call and removes the file; they replace those of earlier files.
//
//     C_Login 0xA4         every C_Login answers so and does nothing
//     C_Login 0xA4 2       the second from now on does
//     * 0x32 17            the 17th call of any function does
//     slot 8 Some Reader   there is another slot, with the same token
//     logout               the login ends
//
// Every call is appended as a line to the file that SCRIPTED_MODULE_TRANSCRIPT names, if it is set. A function that the
// library must never call ends the process.
//
// libpadding_jvm_module.so is the same but for its signatures and requests: the sequence 30 03 02 01 07, in a buffer of
// which it says that all of it counts.
#include "tests/support/scripted_module.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace scripted {
namespace {

/// What the tests order from the other side of the virtual machine.
class Orders {
public:
    explicit Orders(ScriptedModule& module) : module_(module)
    {
        Dl_info self{};
        if (dladdr(reinterpret_cast<void*>(&forbiddenCall), &self) != 0)
            file_ = std::string(self.dli_fname) + ".orders";
    }

    std::optional<CK_RV> operator()(const std::string& call)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        take();
        std::optional<CK_RV> answer;
        for (Answer& order : answers_) {
            const bool meant = order.function == "*" || call.rfind(order.function + "(", 0) == 0;
            if (meant && (order.countdown == 0 || --order.countdown == 0) && !order.spent) {
                answer = order.code;
                order.spent = order.once;
            }
        }
        return answer;
    }

private:
    struct Answer {
        std::string function;
        CK_RV code;
        unsigned long countdown;
        bool once;
        bool spent = false;
    };

    void take()
    {
        std::ifstream orders(file_);
        if (!orders)
            return;
        answers_.clear();
        for (std::string line; std::getline(orders, line);)
            obey(std::istringstream(line));
        (void)std::remove(file_.c_str()); // the tests see that it is taken
    }

    void obey(std::istringstream order)
    {
        std::string function;
        std::string number;
        order >> function >> number >> std::ws;
        if (function == "logout") {
            module_.logout();
            return;
        }
        if (function == "slot") {
            std::string description;
            std::getline(order, description);
            module_.slots.push_back({std::stoul(number), description});
            return;
        }
        unsigned long countdown = 0;
        order >> countdown;
        answers_.push_back({function, std::stoul(number, nullptr, 0), countdown, countdown != 0});
    }

    std::mutex mutex_;
    ScriptedModule& module_;
    std::string file_;
    std::vector<Answer> answers_;
};

struct Process {
    Transcript transcript;
    ScriptedModule module{transcript};
    Orders orders{module};

    Process()
    {
        module.addSampleObjects();
        module.answerBefore = [this](const std::string& call) { return orders(call); };
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
