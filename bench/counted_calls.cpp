// SPDX-License-Identifier: Apache-2.0
// What bench/budget counts: every operation once, on the instant module, after two calls that are not counted: the
// dynamic loader binds this program's functions at their first use, and the heap settles. Each dump that callgrind
// writes names its call.
#include "bench/calls.h"
#include "bench/instant_module.h"
#include "p11/P11Wrapper.h"

#include <valgrind/callgrind.h>
#include <winscard.h>

#include <iostream>
#include <stdexcept>
#include <string>

namespace {

void count(const std::string& name, Call call, Inputs& in)
{
    CK_RV rv = call(in);
    rv |= call(in);
    CALLGRIND_ZERO_STATS;
    rv |= call(in);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    if (rv != CKR_OK)
        throw std::runtime_error(name + ": code " + std::to_string(rv));
}

void countBoth(const Operation& operation, Inputs& in, const std::string& suffix = {})
{
    count("bare " + operation.name + suffix, operation.bare, in);
    count("ours " + operation.name + suffix, operation.ours, in);
}

CK_RV resetByLibrary(Inputs& in)
{
    P11Wrapper::ResetTerminal(in.reader.c_str());
    return CKR_OK;
}

CK_RV resetBare(Inputs& in)
{
    SCARDCONTEXT context = 0;
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
    LONG rv = SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &context);
    rv |= SCardConnect(context, in.reader.c_str(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &card,
                       &protocol);
    rv |= SCardDisconnect(card, SCARD_UNPOWER_CARD);
    rv |= SCardReleaseContext(context);
    return static_cast<CK_RV>(rv);
}

void countAll()
{
    Inputs in = instantInputs();
    countBoth({"ResetTerminal", resetByLibrary, resetBare}, in);
    for (const Operation& operation : operations()) {
        countBoth(operation, in);
        if (operation.name != "ListObjects")
            continue;
        for (const std::size_t objects : {0, 10000}) {
            instantShape.objects = objects;
            countBoth(operation, in, '/' + std::to_string(objects));
        }
        instantShape = usualShape;
    }
}

} // namespace

int main()
{
    try {
        countAll();
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "counted_calls: " << failure.what() << '\n';
        return 1;
    }
}
