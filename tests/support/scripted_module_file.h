// SPDX-License-Identifier: Apache-2.0
// The files that the library can be told to load.
#pragma once

namespace scripted {

extern const char* const moduleFile;     ///< leads to the current ScriptedModule; (un)loading shows in its transcript
extern const char* const jvmModuleFile;  ///< stands alone; see modules/scripted_jvm_module.cpp
extern const char* const notAModuleFile; ///< lacks C_GetFunctionList
extern const char* const nullListModuleFile;   ///< delivers a null function list and CKR_OK
extern const char* const unresolvedModuleFile; ///< calls a function that nobody defines

} // namespace scripted
