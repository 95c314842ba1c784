// SPDX-License-Identifier: Apache-2.0
// The module and its slots, the codes that guard the token, and the reader's power.
#include "p11/P11Wrapper.h"

#include "p11/diagnostics.h"
#include "p11/jobs.h"
#include "p11/module.h"
#include "p11/pcsc_context.h"
#include "p11/session.h"

#include <winscard.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

/// Whether a blank-padded field, without its padding, is a prefix of the name or has the name as a prefix. Blanks are
/// looked for only behind the place where the two part.
template <std::size_t width>
bool prefixMatches(const CK_UTF8CHAR (&field)[width], const char* name, std::size_t nameLength)
{
    const std::size_t shorter = std::min(width, nameLength);
    std::size_t i = 0;
    while (i != shorter && field[i] == static_cast<CK_UTF8CHAR>(name[i]))
        ++i;
    if (i == nameLength)
        return true;
    while (i != width && field[i] == ' ')
        ++i;
    return i == width;
}

/// Changes the code with which this user logs in. It is sent twice: to log in, and as the code to replace.
CK_RV logInAndChangePin(const P11Wrapper& wrapper, CK_SLOT_ID slotId, CK_USER_TYPE userType, ByteRun oldPin,
                        ByteRun newPin)
{
    return runInSession(wrapper, slotId, userType, oldPin.first, oldPin.count,
                        [&](const Session& session) { return jobs::changePin(session, oldPin, newPin); });
}

} // namespace

void* loadModule(const char* path, const Diagnostics& lines)
{
    void* library = dlopen(path, RTLD_NOW);
    if (library == nullptr) {
        const char* reason = dlerror(); // before anything else can replace it
        diagnose(lines, "Error while load ", path, ": ", reason);
    }
    return library;
}

bool fetchFunctionList(void* library, CK_FUNCTION_LIST_PTR& functions, const Diagnostics& lines)
{
    const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
    if (getFunctionList == nullptr) {
        diagnose(lines, "Can't get C_GetFunctionList symbol");
        return false;
    }
    (void)getFunctionList(&functions); // a list is a list, whatever the code
    if (functions == nullptr)
        diagnose(lines, "C_GetFunctionList error");
    return functions != nullptr;
}

Outcome initializeModule(CK_FUNCTION_LIST_PTR functions, CK_C_INITIALIZE_ARGS* arguments, const Diagnostics& lines)
{
    const CK_RV rv = functions->C_Initialize(arguments);
    if (rv != CKR_OK && rv != CKR_CRYPTOKI_ALREADY_INITIALIZED)
        diagnose(lines, "C_Initialize error. Code: ", rv);
    return {rv, "C_Initialize"};
}

Outcome probeModule(CK_FUNCTION_LIST_PTR functions, const Diagnostics& lines)
{
    CK_ULONG count = 0;
    const CK_RV rv = functions->C_GetSlotList(CK_FALSE, nullptr, &count);
    if (rv != CKR_OK)
        diagnose(lines, "C_GetSlotList failed. Code: ", rv);
    return {rv, "C_GetSlotList"};
}

Outcome findSlot(CK_FUNCTION_LIST_PTR functions, const char* terminalName, CK_SLOT_ID* slotId, const Diagnostics& lines)
{
    CK_ULONG count = 0;
    CK_RV rv = functions->C_GetSlotList(CK_FALSE, nullptr, &count);
    if (rv != CKR_OK || count == 0) {
        diagnose(lines, "C_GetSlotList failed. Code: ", rv);
        return {rv, "C_GetSlotList"};
    }
    std::vector<CK_SLOT_ID> slots(count, 0);
    rv = functions->C_GetSlotList(CK_FALSE, slots.data(), &count);
    if (rv != CKR_OK) {
        diagnose(lines, "C_GetSlotList failed. Code: ", rv);
        return {rv, "C_GetSlotList"};
    }

    const std::size_t nameLength = std::strlen(terminalName);
    bool found = false;
    for (const CK_SLOT_ID slot : slots) { // as many as were announced first, whatever the second count
        CK_SLOT_INFO info{};
        rv = functions->C_GetSlotInfo(slot, &info);
        if (rv != CKR_OK) {
            diagnose(lines, "C_GetSlotInfo failed. Code: ", rv);
            continue;
        }
        if (prefixMatches(info.manufacturerID, terminalName, nameLength) ||
            prefixMatches(info.slotDescription, terminalName, nameLength)) {
            found = true;
            *slotId = slot; // the last match wins: a reader plugged in later shadows an earlier one
        }
    }
    if (!found) {
        diagnose(lines, "Terminal not found");
        return {CKR_FUNCTION_FAILED, emptySearch};
    }
    return {rv, "C_GetSlotInfo"};
}

Outcome resetReader(const char* readerName, const Diagnostics& lines)
{
    const PcscContext context;
    if (context.result() != SCARD_S_SUCCESS) {
        diagnose(lines, "Failed to establish context: ", context.result());
        return {static_cast<CK_RV>(context.result()), "SCardEstablishContext"};
    }

    SCARDHANDLE card = 0;
    DWORD activeProtocol = 0;
    const LONG connectResult = SCardConnect(context.handle(), readerName, SCARD_SHARE_SHARED,
                                            SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &card, &activeProtocol);
    // A failed connection needs no line of its own: disconnecting the handle 0 fails and is written.
    const LONG disconnectResult = SCardDisconnect(card, SCARD_UNPOWER_CARD);
    if (disconnectResult != SCARD_S_SUCCESS)
        diagnose(lines, "Failed to diconnect reader ", readerName, ". Error code: ", disconnectResult);
    return connectResult != SCARD_S_SUCCESS ? Outcome(static_cast<CK_RV>(connectResult), "SCardConnect")
                                            : Outcome(static_cast<CK_RV>(disconnectResult), "SCardDisconnect");
}

Outcome jobs::changePin(const Session& session, ByteRun oldPin, ByteRun newPin)
{
    return {session.functions->C_SetPIN(session.handle, oldPin.first, oldPin.count, newPin.first, newPin.count),
            "C_SetPIN"};
}

P11Wrapper::P11Wrapper() : P11Wrapper("libtovr_pkcs11_main.so") {}

P11Wrapper::P11Wrapper(const char* modulePath)
{
    (void)loadLib(modulePath); // a module that is not loaded shows in Initialize
}

P11Wrapper::~P11Wrapper()
{
    if (initialized)
        (void)Finalize(); // nobody is left to be told
    if (libHandle != nullptr) {
        (void)dlclose(libHandle); // at worst the module stays
        // Volatile: the compiler may leave out a store to an object that ends, but native callers look at the state.
        const_cast<void* volatile&>(libHandle) = nullptr;
    }
}

bool P11Wrapper::loadLib(const char* modulePath)
{
    functionList = nullptr;
    initialized = false;
    libHandle = loadModule(modulePath, standardOutput);
    return libHandle != nullptr;
}

bool P11Wrapper::Initialize()
{
    if (libHandle == nullptr) {
        diagnose(standardOutput, "Library not loaded");
        return false;
    }
    if (!fetchFunctionList(libHandle, functionList, standardOutput))
        return false;
    const CK_RV start = initializeModule(functionList, nullptr, standardOutput).code;
    // In an initialised module another call of this process is at work: it is known to answer and needs no probe.
    if (start != CKR_CRYPTOKI_ALREADY_INITIALIZED &&
        (start != CKR_OK || probeModule(functionList, standardOutput).code != CKR_OK))
        return false;
    initialized = true;
    return true;
}

CK_RV P11Wrapper::Finalize()
{
    initialized = false;
    return functionList == nullptr ? CKR_OK : functionList->C_Finalize(nullptr);
}

CK_RV P11Wrapper::GetSlotIDByTerminalName(const char* terminalName, CK_SLOT_ID* slotId)
{
    if (terminalName == nullptr) {
        *slotId = 0;
        return CKR_FUNCTION_FAILED;
    }
    if (!isReady(*this))
        return CKR_GENERAL_ERROR;

    return findSlot(functionList, terminalName, slotId, standardOutput).code;
}

CK_RV P11Wrapper::SetPin(CK_SLOT_ID slotId, unsigned char* oldPin, CK_ULONG oldPinLen, unsigned char* newPin,
                         CK_ULONG newPinLen)
{
    return logInAndChangePin(*this, slotId, CKU_USER, {oldPin, oldPinLen}, {newPin, newPinLen});
}

CK_RV P11Wrapper::SetPuk(CK_SLOT_ID slotId, unsigned char* oldPuk, CK_ULONG oldPukLen, unsigned char* newPuk,
                         CK_ULONG newPukLen)
{
    return logInAndChangePin(*this, slotId, CKU_SO, {oldPuk, oldPukLen}, {newPuk, newPukLen});
}

void P11Wrapper::ResetTerminal(const char* readerName)
{
    (void)resetReader(readerName, standardOutput); // its line is all that the caller gets
}
