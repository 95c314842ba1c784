// SPDX-License-Identifier: Apache-2.0
// One job on the token in VORNIX_SOFTTOKEN_DIR, in a process of its own. Its last line is the code that it ended with.
#include "tests/endtoend/endurance/full_cycle.h"

#include <iostream>
#include <map>

int main(int count, char** words)
{
    using namespace endtoend;
    const std::vector<std::string> arguments(words + 1, words + count);
    const auto argument = [&](std::size_t index) { return arguments.at(index); };
    const std::map<std::string, std::function<CK_RV()>> jobs = {
        {"changePin", [&] { return changePin(argument(1), argument(2)); }},
        {"changePuk", [&] { return changePuk(argument(1), argument(2)); }},
        {"initialise", [] { return initialise(); }},
        {"generate", [&] { return generateKeyPair(bytes(argument(1))); }},
        {"clean", [] { return clean(); }},
        {"list",
         [] {
             std::vector<ObjectAttr> objects;
             return list(objects);
         }},
    };
    const CK_RV rv = jobs.at(argument(0))();
    std::cout << '\n' << rv;
    return std::cout.flush() ? 0 : 1;
}
