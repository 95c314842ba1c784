// SPDX-License-Identifier: Apache-2.0
// Where libscripted_module.so leads, and what a forbidden call means in a GoogleTest program.
#include "tests/support/scripted_module_file.h"

#include "tests/support/scripted_module.h"

#include <gtest/gtest.h>

namespace scripted {

const char* const moduleFile = SCRIPTED_MODULE_FILE;
const char* const jvmModuleFile = SCRIPTED_JVM_MODULE_FILE;
const char* const notAModuleFile = NOT_A_MODULE_FILE;
const char* const nullListModuleFile = NULL_LIST_MODULE_FILE;
const char* const unresolvedModuleFile = UNRESOLVED_MODULE_FILE;

void forbiddenCall(const std::string& function)
{
    ADD_FAILURE() << "unexpected call: " << function;
}

} // namespace scripted

using scripted::ScriptedModule;

extern "C" {

CK_RV scriptedModuleFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    return scripted::deliverFunctionList(list);
}

void scriptedModuleLoaded()
{
    if (ScriptedModule* const module = ScriptedModule::current())
        module->transcript.add("module loaded");
}

void scriptedModuleUnloaded()
{
    if (ScriptedModule* const module = ScriptedModule::current()) {
        module->transcript.add("module unloaded");
        module->unloaded();
    }
}
}
