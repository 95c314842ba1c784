// SPDX-License-Identifier: Apache-2.0
// A card that OpenSC's module takes for a token, with as few commands as that needs: it has the file names of JPKI
// cards, for which the module knows by itself what keys are on them.
#pragma once

#include <atomic>
#include <vector>

class OpenscCard {
public:
    /// Its first token. The second has another PIN and the same reader.
    static constexpr const char* token = "JPKI (User Authentication PIN)";
    static constexpr const char* pin = "1234";

    std::vector<unsigned char> answer(const std::vector<unsigned char>& command);

    /// How many PINs it has been sent.
    [[nodiscard]] int pins() const { return pins_; }

private:
    std::atomic<int> pins_{0};
};
