// SPDX-License-Identifier: Apache-2.0
// What the processes that are killed share with the test that judges what they left.
#pragma once

#include <string>

namespace endtoend {

/// The PIN after so many changes.
inline std::string pinNumber(long number)
{
    return number == 0 ? "12345678" : "pin number " + std::to_string(number);
}

} // namespace endtoend
