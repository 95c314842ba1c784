// SPDX-License-Identifier: Apache-2.0
// Resets the reader that its argument names, as a C++ application does.
#include "p11/P11Wrapper.h"

int main(int count, char** arguments)
{
    if (count != 2)
        return 2;
    P11Wrapper::ResetTerminal(arguments[1]);
}
