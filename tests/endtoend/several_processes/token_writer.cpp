// SPDX-License-Identifier: Apache-2.0
// Writes to the token in VORNIX_SOFTTOKEN_DIR until it is killed. Writes to its standard output what it begins and what
// was answered with 0, each line at once. Ends by itself only when it cannot go on.
//     token_writer JOB START [FILE]     changes are counted from START on; FILE is a certificate
#include "tests/endtoend/endurance/full_cycle.h"
#include "tests/endtoend/several_processes/deaths.h"
#include "tests/endtoend/several_processes/raw_token.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>

namespace endtoend {
namespace {

void tell(const std::string& what, long number)
{
    const std::string line = what + " " + std::to_string(number) + "\n";
    must(write(STDOUT_FILENO, line.data(), line.size()) == static_cast<ssize_t>(line.size()) ? CKR_OK
                                                                                             : CKR_GENERAL_ERROR,
         "telling");
}

/// Runs `step` with one number after the other.
[[noreturn]] void repeat(long number, const std::function<CK_RV(long)>& step)
{
    for (;; ++number) {
        tell("begin", number);
        must(step(number), "step " + std::to_string(number));
        tell("done", number);
    }
}

[[noreturn]] void work(const std::string& job, long start, const std::string& file)
{
    if (job == "importing") {
        std::ifstream stream(file, std::ios::binary);
        const Bytes certificate(std::istreambuf_iterator<char>(stream), {});
        repeat(start, [&](long) { return import(certificate); });
    }
    if (job == "generating")
        repeat(start, [](long) { return generateKeyPair({0x02}); });
    if (job == "generatingGost")
        repeat(start, [](long) { return generateGostKeyPair({0x02}); });
    if (job == "changingThePin")
        repeat(start, [](long number) { return changePin(pinNumber(number - 1), pinNumber(number)); });
    if (job == "initialising")
        repeat(start, [](long) { return initialise(); });
    const RawToken token;
    must(token.login(userPin), "login");
    if (job == "loggingIn")
        repeat(start, [&](long) {
            token.logout();
            return token.login(userPin);
        });
    if (job == "creating")
        repeat(start, [&](long number) { return token.create(std::to_string(number)); });
    if (job == "relabelling")
        repeat(start, [&](long number) {
            if (number == 1)
                return token.create("1");
            const auto objects = token.objects();
            return token.relabel(objects.at(std::to_string(number - 1)), std::to_string(number));
        });
    if (job == "destroying")
        repeat(start, [&](long number) {
            const auto objects = token.objects();
            return number % 2 == 0 ? token.destroy(objects.at("doomed")) : token.create("doomed");
        });
    throw std::invalid_argument(job);
}

} // namespace
} // namespace endtoend

int main(int count, char** arguments)
{
    try {
        endtoend::work(arguments[1], std::stol(arguments[2]), count > 3 ? arguments[3] : "");
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    return 1;
}
