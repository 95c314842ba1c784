// SPDX-License-Identifier: Apache-2.0
// The PC/SC functions that the libraries may call, answered by the test program: its own definitions win over those
// of libpcsclite. Calling them without a ScriptedPcsc fails the test.
#pragma once

#include "tests/support/transcript.h"

#include <winscard.h>

#include <functional>
#include <string>
#include <vector>

namespace scripted {

class ScriptedPcsc {
public:
    /// Becomes the PC/SC service until destruction; one at a time.
    explicit ScriptedPcsc(Transcript& transcript);
    ~ScriptedPcsc();
    ScriptedPcsc(const ScriptedPcsc&) = delete;
    ScriptedPcsc& operator=(const ScriptedPcsc&) = delete;

    // A call that fails leaves its outputs alone.
    LONG establishResult = SCARD_S_SUCCESS;
    LONG connectResult = SCARD_S_SUCCESS;
    LONG disconnectResult = SCARD_S_SUCCESS;
    LONG releaseResult = SCARD_S_SUCCESS;
    LONG listResult = SCARD_S_SUCCESS;
    std::vector<std::string> readers{"Scripted Reader 0"};
    /// Runs between the length query and the call that gets the readers' names.
    std::function<void()> beforeNames = [] {};
    /// What SCardGetStatusChange does with the states; unless replaced, nothing has changed.
    std::function<LONG(SCARD_READERSTATE* states, DWORD count)> statusChange = [](auto...) { return SCARD_E_TIMEOUT; };
    SCARDCONTEXT context = 81;
    SCARDHANDLE card = 91;

    Transcript& transcript;
};

} // namespace scripted
