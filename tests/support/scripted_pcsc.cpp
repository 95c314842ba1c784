// SPDX-License-Identifier: Apache-2.0
#include "tests/support/scripted_pcsc.h"

#include "tests/support/captured_output.h"
#include "tests/support/scripted_module.h"

#include <atomic>
#include <functional>

namespace scripted {
namespace {

std::atomic<ScriptedPcsc*> currentService{nullptr};

/// Writes a call to the transcript. The result is a member of the service, or a function of it.
template <class Result, class Outputs>
LONG perform(std::string call, Result result, Outputs outputs)
{
    ScriptedPcsc* const service = currentService;
    if (service == nullptr) {
        forbiddenCall(call);
        return SCARD_E_NO_SERVICE;
    }
    const LONG code = std::invoke(result, *service);
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
    std::string list;
    return perform(
        "SCardListReaders(context " + std::to_string(context) + ", " + pointerText(groups) + ", names " +
            pointerText(readers) + ")",
        [&](ScriptedPcsc& service) {
            if (readers != nullptr)
                service.beforeNames();
            for (const std::string& reader : service.readers)
                list += reader + '\0';
            list += '\0';
            const bool tooLong = readers != nullptr && list.size() > *cchReaders;
            return service.listResult == SCARD_S_SUCCESS && tooLong ? SCARD_E_INSUFFICIENT_BUFFER : service.listResult;
        },
        [&](const ScriptedPcsc&) {
            if (readers != nullptr)
                list.copy(readers, list.size());
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
