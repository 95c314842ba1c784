// SPDX-License-Identifier: Apache-2.0
// A module's file as the process has loaded it.
#pragma once

#include "p11/diagnostics.h"
#include "p11/outcome.h"

#include <p11-kit/pkcs11.h>

#include <memory>

/// Unloads a module's file at the end. Whether the module is finalised before is the owner's matter.
class Module {
public:
    /// Loads the file and fetches its function list into `module`. A file whose C_GetFunctionList is another file's is
    /// no module: what answers there is a dependency, which may have tokens of its own.
    static Outcome load(const char* path, const Diagnostics& lines, std::unique_ptr<Module>& module);

    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    CK_FUNCTION_LIST_PTR functions() const { return functions_; }

private:
    Module() = default;

    void* library_ = nullptr;
    CK_FUNCTION_LIST_PTR functions_ = nullptr;
};

/// Who has initialised a module, and how it can be called.
enum class Initialization { byUsForSeveralThreads = 0, byUsForOneThread = 1, bySomebodyElse = 2 };

/// Initialises a module for several threads (CKF_OS_LOCKING_OK) or, where it cannot lock, for one at a time.
Outcome initialize(const Module& module, const Diagnostics& lines, Initialization& initialization);
