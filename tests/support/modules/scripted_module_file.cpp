// SPDX-License-Identifier: Apache-2.0
// libscripted_module.so: leads the dynamic loader to the test program that loads it. It holds nothing of its own, so
// that unloading really unloads.
#include <p11-kit/pkcs11.h>

extern "C" {
// Defined by the test program.
CK_RV scriptedModuleFunctionList(CK_FUNCTION_LIST_PTR_PTR list);
void scriptedModuleLoaded(void);
void scriptedModuleUnloaded(void);
}

__attribute__((constructor)) static void load()
{
    scriptedModuleLoaded();
}
__attribute__((destructor)) static void unload()
{
    scriptedModuleUnloaded();
}

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    return scriptedModuleFunctionList(list);
}
