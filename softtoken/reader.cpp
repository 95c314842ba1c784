// SPDX-License-Identifier: Apache-2.0
#include "softtoken/reader.h"

#include "softtoken/failure.h"
#include "softtoken/pins.h"
#include "softtoken/slot.h"
#include "softtoken/store.h"
#include "softtoken/transaction.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace softtoken {
namespace {

constexpr std::string_view readerName = "Vornix Soft Reader 00 00";

// Slots are looked up by manufacturer as well as by name. This one is neither blank nor the beginning of a reader's
// name.
constexpr std::string_view manufacturer = "Vornix development";
constexpr std::string_view description = "Vornix software token";
constexpr std::string_view model = "software token";
constexpr CK_VERSION version = {VORNIX_VERSION_MAJOR, VORNIX_VERSION_MINOR};

CK_UTF8CHAR userPin[] = {'1', '2', '3', '4', '5', '6', '7', '8'};

template <std::size_t size>
void fill(CK_UTF8CHAR (&field)[size], std::string_view text)
{
    std::fill(std::copy(text.begin(), text.end(), field), std::end(field), ' ');
}

void setUserPin(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_UTF8CHAR_PTR soPin, CK_ULONG soPinLen)
{
    CK_SESSION_HANDLE session;
    check(softHsm.C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session));
    CK_RV rv = softHsm.C_Login(session, CKU_SO, soPin, soPinLen);
    if (rv == CKR_OK)
        rv = softHsm.C_InitPIN(session, userPin, std::size(userPin));
    // Closing the only session logs the security officer out.
    const CK_RV closed = softHsm.C_CloseSession(session);
    check(rv);
    check(closed);
}

} // namespace

void getInfo(const CK_FUNCTION_LIST& softHsm, CK_INFO_PTR info)
{
    check(softHsm.C_GetInfo(info));
    fill(info->manufacturerID, manufacturer);
    fill(info->libraryDescription, description);
    info->libraryVersion = version;
}

void getSlotList(const CK_FUNCTION_LIST& softHsm, CK_BBOOL, CK_SLOT_ID_PTR slots, CK_ULONG_PTR count)
{
    require(isInitialised(softHsm), CKR_CRYPTOKI_NOT_INITIALIZED);
    require(count, CKR_ARGUMENTS_BAD);
    const CK_ULONG room = *count;
    *count = 1;
    if (!slots)
        return;
    require(room >= 1, CKR_BUFFER_TOO_SMALL);
    *slots = readerSlot;
}

void getSlotInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_SLOT_INFO_PTR info)
{
    check(softHsm.C_GetSlotInfo(softHsmSlot(softHsm, slot), info));
    fill(info->slotDescription, readerName);
    fill(info->manufacturerID, manufacturer);
}

void getTokenInfo(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_TOKEN_INFO_PTR info)
{
    check(softHsm.C_GetTokenInfo(softHsmSlot(softHsm, slot), info));
    fill(info->manufacturerID, manufacturer);
    fill(info->model, model);
    showTries(*info);
}

void getSessionInfo(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE session, CK_SESSION_INFO_PTR info)
{
    check(softHsm.C_GetSessionInfo(session, info));
    info->slotID = readerSlot;
}

void initToken(const CK_FUNCTION_LIST& softHsm, CK_SLOT_ID slot, CK_UTF8CHAR_PTR pin, CK_ULONG pinLen,
               CK_UTF8CHAR_PTR label)
{
    readPinsAgain(softHsm);
    changeToken([&] {
        const CK_SLOT_ID target = softHsmSlot(softHsm, slot);
        check(softHsm.C_InitToken(target, pin, pinLen, label));
        setUserPin(softHsm, target, pin, pinLen);
    });
    forgiveTries();
}

} // namespace softtoken
