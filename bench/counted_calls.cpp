// What bench/budget counts: every operation once, on the instant module, after a first round that is not counted (the
// dynamic loader binds this program's functions at their first use). Each dump that callgrind writes names its call.
#include "bench/calls.h"
#include "bench/instant_module.h"

#include <valgrind/callgrind.h>

#include <stdexcept>
#include <string>

InstantShape instantShape = {3, 102, 1400};

namespace {

void count(const std::string& name, Call call, Inputs& in)
{
    CK_RV rv = call(in);
    CALLGRIND_ZERO_STATS;
    rv |= call(in);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    if (rv != CKR_OK)
        throw std::runtime_error(name + ": code " + std::to_string(rv));
}

/// Counts all operations, or the one named `only`.
void countAll(Inputs& in, const std::string& only = {}, const std::string& suffix = {})
{
    for (std::size_t i = 0; i < ourCalls().size(); ++i) {
        const std::string name = ourCalls()[i].operation;
        if (name != bareCalls()[i].operation)
            throw std::runtime_error("the lists of calls differ at " + name);
        if (only.empty() || only == name) {
            count("bare " + name + suffix, bareCalls()[i].call, in);
            count("ours " + name + suffix, ourCalls()[i].call, in);
        }
    }
}

} // namespace

int main()
{
    Inputs in;
    in.module = INSTANT_MODULE;
    in.reader = "Reader 0001";
    in.userPin.assign(8, '1');
    in.soPin.assign(8, '2');
    in.label = "object";
    in.id = {1, 2, 3, 4};
    in.certificate.assign(instantShape.bytes, 'c');
    in.data.assign(100, 'd');
    in.message.assign(instantShape.bytes, 'm');
    in.newLabel = in.label;
    in.newId = in.id;
    countAll(in);
    instantShape.objects = 0;
    countAll(in, "ListObjects", "/0");
    instantShape.objects = 10000;
    countAll(in, "ListObjects", "/10000");
}
