// SPDX-License-Identifier: Apache-2.0
// Prints the model of the token in a reader.
#include "P11Wrapper.h"

#include <iostream>

int main(int count, char** arguments)
{
    if (count != 3) {
        std::cerr << "usage: token_reader MODULE READER\n";
        return 2;
    }
    P11Wrapper token(arguments[1]);
    CK_SLOT_ID slot = 0;
    std::vector<unsigned char> label;
    std::vector<unsigned char> manufacturer;
    std::vector<unsigned char> model;
    std::vector<unsigned char> serialNumber;
    std::string flags;
    if (!token.Initialize() || token.GetSlotIDByTerminalName(arguments[2], &slot) != CKR_OK ||
        token.GetTokenInfo(slot, label, manufacturer, model, serialNumber, flags) != CKR_OK) {
        return 1; // the library has written why
    }
    std::cout << "model " << std::string(model.begin(), model.end()) << '\n';
}
