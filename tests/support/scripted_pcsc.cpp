// SPDX-License-Identifier: Apache-2.0
#include "tests/support/scripted_pcsc.h"

#include "tests/support/captured_output.h"
#include "tests/support/scripted_module.h"

#include <atomic>

namespace scripted {
namespace {

std::atomic<ScriptedPcsc*> currentService{nullptr};

template <class Outputs>
LONG perform(std::string call, LONG ScriptedPcsc::*result, Outputs outputs)
{
    ScriptedPcsc* const service = currentService;
    if (service == nullptr) {
        forbiddenCall(call);
        return SCARD_E_NO_SERVICE;
    }
    const LONG code = service->*result;
    if (code == SCARD_S_SUCCESS)
        call += outputs(*service);
    service->transcript.add(call + ": " + std::to_string(code));
    return code;
}

std::string nothing(const ScriptedPcsc&)
{
    return {};
}

} // namespace

ScriptedPcsc::ScriptedPcsc(Transcript& transcriptToWrite) : transcript(transcriptToWrite)
{
    currentService = this;
}

ScriptedPcsc::~ScriptedPcsc()
{
    currentService = nullptr;
}

} // namespace scripted

using namespace scripted;

extern "C" {

LONG SCardEstablishContext(DWORD scope, LPCVOID reserved1, LPCVOID reserved2, LPSCARDCONTEXT context)
{
    return perform("SCardEstablishContext(scope " + std::to_string(scope) + ", " + pointerText(reserved1) + ", " +
                       pointerText(reserved2) + ")",
                   &ScriptedPcsc::establishResult, [&](const ScriptedPcsc& service) {
                       *context = service.context;
                       return " -> context " + std::to_string(*context);
                   });
}

LONG SCardConnect(SCARDCONTEXT context, LPCSTR reader, DWORD shareMode, DWORD protocols, LPSCARDHANDLE card,
                  LPDWORD activeProtocol)
{
    return perform("SCardConnect(context " + std::to_string(context) + ", reader " + stringText(reader) +
                       ", share mode " + std::to_string(shareMode) + ", protocols " + std::to_string(protocols) + ")",
                   &ScriptedPcsc::connectResult, [&](const ScriptedPcsc& service) {
                       *card = service.card;
                       *activeProtocol = SCARD_PROTOCOL_T1;
                       return " -> card " + std::to_string(*card);
                   });
}

LONG SCardDisconnect(SCARDHANDLE card, DWORD disposition)
{
    return perform("SCardDisconnect(card " + std::to_string(card) + ", disposition " + std::to_string(disposition) +
                       ")",
                   &ScriptedPcsc::disconnectResult, nothing);
}

LONG SCardListReaders(SCARDCONTEXT context, LPCSTR groups, LPSTR readers, LPDWORD cchReaders)
{
    return perform("SCardListReaders(context " + std::to_string(context) + ", " + pointerText(groups) + ", names " +
                       pointerText(readers) + ")",
                   &ScriptedPcsc::listResult, [&](const ScriptedPcsc& service) {
                       std::string list;
                       for (const std::string& reader : service.readers)
                           list += reader + '\0';
                       list += '\0';
                       if (readers != nullptr)
                           list.copy(readers, *cchReaders);
                       *cchReaders = list.size();
                       return " -> length " + std::to_string(*cchReaders);
                   });
}

LONG SCardGetStatusChange(SCARDCONTEXT context, DWORD timeout, SCARD_READERSTATE* states, DWORD readers)
{
    std::string call =
        "SCardGetStatusChange(context " + std::to_string(context) + ", timeout " + std::to_string(timeout) + ", {";
    for (DWORD i = 0; i < readers; ++i)
        call += (i == 0 ? "" : ", ") + stringText(states[i].szReader) + " " + hexNumber(states[i].dwCurrentState);
    ScriptedPcsc* const service = currentService;
    if (service == nullptr) {
        forbiddenCall(call);
        return SCARD_E_NO_SERVICE;
    }
    const LONG code = service->statusChange(states, readers);
    service->transcript.add(call + "}): " + std::to_string(code));
    return code;
}

LONG SCardReleaseContext(SCARDCONTEXT context)
{
    return perform("SCardReleaseContext(context " + std::to_string(context) + ")", &ScriptedPcsc::releaseResult,
                   nothing);
}
}
