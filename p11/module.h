// SPDX-License-Identifier: Apache-2.0
// The module's file, its start and its slots; and the reader, which needs no module.
#pragma once

#include "p11/diagnostics.h"
#include "p11/outcome.h"

#include <p11-kit/pkcs11.h>

/// Loads a module's file with the dynamic loader. Returns null where that fails; the line tells the loader's reason.
[[nodiscard]] void* loadModule(const char* path, const Diagnostics& lines);

/// Fetches a loaded module's function list. Returns false where there is none; the line tells why.
[[nodiscard]] bool fetchFunctionList(void* library, CK_FUNCTION_LIST_PTR& functions, const Diagnostics& lines);

/// Calls C_Initialize; `arguments` may be null. 0x191 has no line: somebody else has initialised the module.
Outcome initializeModule(CK_FUNCTION_LIST_PTR functions, CK_C_INITIALIZE_ARGS* arguments, const Diagnostics& lines);

/// Asks an initialised module for its slots, to see that it answers.
Outcome probeModule(CK_FUNCTION_LIST_PTR functions, const Diagnostics& lines);

/// Finds the slot of a reader by the rule of P11Wrapper::GetSlotIDByTerminalName.
Outcome findSlot(CK_FUNCTION_LIST_PTR functions, const char* terminalName, CK_SLOT_ID* slotId,
                 const Diagnostics& lines);

/// Powers the card in a reader down. The code is the PC/SC service's, of the first step that failed.
Outcome resetReader(const char* readerName, const Diagnostics& lines);
