// SPDX-License-Identifier: Apache-2.0
#include "session/module.h"

#include "p11/module.h"

#include <dlfcn.h>
#include <link.h>

namespace {

/// Whether a loaded file has this function itself. One that it lacks is looked for in its dependencies.
bool isOwnFunction(void* library, void* function)
{
    link_map* own = nullptr;
    void* owner = nullptr;
    Dl_info info{};
    return dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&own)) == 0 &&
           dladdr1(function, &info, &owner, RTLD_DL_LINKMAP) != 0 && owner == own;
}

} // namespace

Outcome Module::load(const char* path, const Diagnostics& lines, std::unique_ptr<Module>& module)
{
    std::unique_ptr<Module> loaded(new Module); // the constructor is private: no make_unique
    void* library = loaded->library_ = loadModule(path, lines);
    if (library == nullptr)
        return {CKR_GENERAL_ERROR, "dlopen"};

    const Outcome none(CKR_GENERAL_ERROR, "C_GetFunctionList");
    void* getFunctionList = dlsym(library, "C_GetFunctionList");
    if (getFunctionList != nullptr && !isOwnFunction(library, getFunctionList)) {
        diagnose(lines, "C_GetFunctionList is not in ", path, " but in a file that it depends on");
        return none;
    }
    if (!fetchFunctionList(library, loaded->functions_, lines))
        return none;
    module = std::move(loaded);
    return {CKR_OK, "C_GetFunctionList"};
}

Module::~Module()
{
    if (library_ != nullptr)
        (void)dlclose(library_); // at worst the file stays
}

Outcome initialize(const Module& module, const Diagnostics& lines, Initialization& initialization)
{
    CK_C_INITIALIZE_ARGS arguments{};
    arguments.flags = CKF_OS_LOCKING_OK;
    initialization = Initialization::byUsForSeveralThreads;
    std::string refusal; // that of a module that cannot lock is no failure
    Outcome outcome = initializeModule(module.functions(), &arguments, Diagnostics(refusal));
    if (outcome.code == CKR_CANT_LOCK) {
        initialization = Initialization::byUsForOneThread;
        outcome = initializeModule(module.functions(), nullptr, lines);
    } else {
        lines.write(refusal);
    }
    if (outcome.code == CKR_CRYPTOKI_ALREADY_INITIALIZED) {
        initialization = Initialization::bySomebodyElse;
        outcome.code = CKR_OK;
    }
    return outcome;
}
