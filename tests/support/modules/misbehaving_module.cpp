// SPDX-License-Identifier: Apache-2.0
// A module that crashes when it is initialised, or hangs if HANGS is defined.
#include <p11-kit/pkcs11.h>

#include <csignal>

#include <unistd.h>

namespace {

CK_RV misbehave(void*)
{
#ifdef HANGS
    for (;;)
        (void)pause(); // each signal ends it
#else
    (void)std::raise(SIGSEGV); // it does not come back
    return CKR_OK;
#endif
}

} // namespace

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    static CK_FUNCTION_LIST functions = [] {
        CK_FUNCTION_LIST only{};
        only.C_Initialize = misbehave;
        return only;
    }();
    *list = &functions;
    return CKR_OK;
}
