// SPDX-License-Identifier: Apache-2.0
// Runs a command with a card in the reader "Virtual PCD 00 00", then tells how the card's power was switched meanwhile.
#include "tools/child_process/child_process.h"
#include "tools/virtual_reader/pcsc_service.h"
#include "tools/virtual_reader/virtual_card.h"

#include <unistd.h>

#include <exception>
#include <iostream>

int main(int count, char** arguments)
{
    if (count < 2) {
        std::cerr << "usage: in_pcsc_namespace.sh " << arguments[0] << " COMMAND [ARGUMENT]...\n";
        return 2;
    }
    try {
        PcscService service;
        VirtualCard card;
        card.waitUntilIdle();
        ChildProcess command({arguments + 1, arguments + count}, STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO);
        const int status = command.wait();
        std::cout << "The card in \"" << virtualReader << "\" saw:\n";
        for (const std::string& event : card.takeRecord())
            std::cout << "  " << event << '\n';
        return status;
    } catch (const std::exception& error) {
        std::cerr << arguments[0] << ": " << error.what() << '\n';
        return 1;
    }
}
