// SPDX-License-Identifier: Apache-2.0
// Every operation of P11Wrapper as a complete call: the module is loaded, does the job and is unloaded. Each exists
// twice: by the library, and by the bare sequence of the same module calls.
#pragma once

#include <p11-kit/pkcs11.h>

#include <map>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// Strings laid end to end, each with its NUL, from a literal.
template <std::size_t size>
Bytes strings(const char (&literal)[size])
{
    return {literal, literal + size};
}

/// What calls are made with. The outputs of the bare sequence stay in fixed buffers, which hold `outputRoom` bytes.
struct Inputs {
    std::string module;
    std::string reader;
    Bytes userPin;
    Bytes soPin;
    std::string label; ///< of the certificate and the key pair on the token
    Bytes id;
    Bytes certificate;
    Bytes data;
    Bytes message; ///< over `data`
    unsigned long modulusBits = 1024;
    std::string newLabel; ///< of what a call adds
    Bytes newId;
    Bytes subject = strings("CN\0Benchmark");                           ///< of a certificate request: one pair
    Bytes attributes = strings("challengePassword\0benchmark");         ///< one pair
    Bytes extensions = strings("keyUsage\0critical\0digitalSignature"); ///< one triple
};

constexpr std::size_t outputRoom = 16 << 20;
constexpr std::size_t objectRoom = 20000;

/// Returns 0 when all of its steps returned 0.
using Call = CK_RV (*)(Inputs&);

struct Operation {
    std::string name;
    Call ours;
    Call bare = nullptr;
};

/// All operations that need a token or a module, in the order of P11Wrapper.h.
std::vector<Operation> operations();

/// By the name of the operation.
std::map<std::string, Call> bareCalls();

/// What the calls are made with on the instant module.
Inputs instantInputs();
