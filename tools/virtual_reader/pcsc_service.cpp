// SPDX-License-Identifier: Apache-2.0
#include "tools/virtual_reader/pcsc_service.h"

#include "tools/virtual_reader/virtual_card.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// What the service knows of the reader, in flags; none while there is no service.
DWORD readerState()
{
    SCARDCONTEXT context = 0;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
        return 0;
    SCARD_READERSTATE state{};
    state.szReader = virtualReader;
    const LONG result = SCardGetStatusChange(context, 0, &state, 1);
    (void)SCardReleaseContext(context); // the service drops it with the connection
    return result == SCARD_S_SUCCESS ? state.dwEventState : 0;
}

std::vector<std::string> command()
{
    return {PCSCD, "--foreground", "--critical", "--config", READER_CONFIGURATION};
}

std::vector<std::string> commandWithoutPolkit()
{
    std::vector<std::string> words = command();
#ifdef PCSCD_WITHOUT_POLKIT
    words.emplace_back(PCSCD_WITHOUT_POLKIT);
#endif
    return words;
}

} // namespace

// What the daemon writes is of interest when a test fails; standard output is the command's.
PcscService::PcscService(const std::vector<std::string>& command)
    : daemon_(command, STDIN_FILENO, STDERR_FILENO, STDERR_FILENO)
{
}

PcscService::PcscService() : PcscService(commandWithoutPolkit())
{
    waitForReader([](DWORD state) { return (state & (SCARD_STATE_EMPTY | SCARD_STATE_PRESENT)) != 0; });
}

#ifdef PCSCD_WITHOUT_POLKIT
std::unique_ptr<PcscService> PcscService::thatRefusesItsClients()
{
    std::unique_ptr<PcscService> service(new PcscService(command()));
    service->waitUntil([] {
        SCARDCONTEXT context = 0;
        return SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) == SCARD_W_SECURITY_VIOLATION;
    });
    return service;
}
#endif

PcscService::~PcscService()
{
    stop();
}

void PcscService::waitUntilEmpty()
{
    waitForReader([](DWORD state) { return (state & SCARD_STATE_EMPTY) != 0; });
}

void PcscService::waitUntilMute()
{
    waitForReader([](DWORD state) { return (state & SCARD_STATE_MUTE) != 0; });
}

void PcscService::waitForReader(bool (*condition)(DWORD state))
{
    waitUntil([condition] { return condition(readerState()); });
}

template <typename Condition>
void PcscService::waitUntil(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (!daemon_.running())
            throw std::runtime_error("pcscd ended with status " + std::to_string(daemon_.wait()));
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("the virtual reader is not as awaited");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void PcscService::stop()
{
    daemon_.signal(SIGTERM);
    (void)daemon_.wait(); // gone, with whatever status
}

CardUser::CardUser(DWORD shareMode)
{
    // Where either fails, transmit() tells.
    (void)SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context_);
    DWORD protocol = 0;
    (void)SCardConnect(context_, virtualReader, shareMode, SCARD_PROTOCOL_T0, &card_, &protocol);
}

CardUser::~CardUser()
{
    // Where either fails, there is no connection to end.
    (void)SCardDisconnect(card_, SCARD_LEAVE_CARD);
    (void)SCardReleaseContext(context_);
}

LONG CardUser::transmit() const
{
    const std::array<unsigned char, 5> command = {0x00, 0xB0, 0x00, 0x00, 0x00}; // READ BINARY
    std::array<unsigned char, MAX_BUFFER_SIZE> answer{};
    DWORD length = answer.size();
    return SCardTransmit(card_, SCARD_PCI_T0, command.data(), command.size(), nullptr, answer.data(), &length);
}
