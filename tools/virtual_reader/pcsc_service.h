// SPDX-License-Identifier: Apache-2.0
// The PC/SC service with a virtual reader. It must be alone on its machine: see in_pcsc_namespace.sh.
#pragma once

#include "tools/child_process/child_process.h"

#include <winscard.h>

#include <memory>
#include <string>
#include <vector>

constexpr const char* virtualReader = "Virtual PCD 00 00";

constexpr const char* pcscSocket = "/run/pcscd/pcscd.comm";

/// Runs from construction to stop() or destruction. Construction returns when clients can see the reader.
class PcscService {
public:
    PcscService();
#ifdef PCSCD_WITHOUT_POLKIT
    /// Returns a service that asks polkit about its clients. There is no polkit to answer, so it refuses them all.
    static std::unique_ptr<PcscService> thatRefusesItsClients();
#endif
    ~PcscService();
    PcscService(const PcscService&) = delete;
    PcscService& operator=(const PcscService&) = delete;

    /// Waits until the service has noticed that there is no card in the reader. Throws when it does not.
    void waitUntilEmpty();

    /// Waits until the service has noticed that the card does not answer. Throws when it does not.
    void waitUntilMute();

    void stop();

private:
    explicit PcscService(const std::vector<std::string>& command);

    void waitForReader(bool (*condition)(DWORD state));
    template <typename Condition>
    void waitUntil(Condition condition);

    ChildProcess daemon_;
};

/// An application that has the card in use.
class CardUser {
public:
    explicit CardUser(DWORD shareMode);
    ~CardUser();
    CardUser(const CardUser&) = delete;
    CardUser& operator=(const CardUser&) = delete;

    /// Sends the card a command and returns the service's code, even without a connection.
    LONG transmit() const;

private:
    SCARDCONTEXT context_ = 0;
    SCARDHANDLE card_ = 0;
};
