// SPDX-License-Identifier: Apache-2.0
// What a process that is killed and its judge agree on.
#pragma once

#include <string>

namespace endtoend {

/// The PIN after so many changes.
inline std::string pinNumber(long number)
{
    return number == 0 ? "12345678" : "pin number " + std::to_string(number);
}

} // namespace endtoend
