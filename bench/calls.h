// Every operation of P11Wrapper as a whole call: the module is loaded, does the job and is unloaded. Once as the
// library does it, once as the bare sequence of the same module calls.
#pragma once

#include <p11-kit/pkcs11.h>

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// What calls are made with. The outputs of the bare sequence stay in fixed buffers, which hold `outputRoom` bytes.
struct Inputs {
    std::string module;
    std::string reader;
    Bytes userPin;
    Bytes soPin;
    std::string label; ///< of the certificate and the key pair that stand on the token
    Bytes id;
    Bytes certificate;
    Bytes data;
    Bytes message; ///< over `data`
    unsigned long modulusBits = 1024;
    std::string newLabel; ///< of what a call adds
    Bytes newId;
};

constexpr std::size_t outputRoom = 16 << 20;
constexpr std::size_t objectRoom = 20000;

using Call = CK_RV (*)(Inputs&);

struct NamedCall {
    const char* operation;
    Call call;
};

/// Each call returns 0 when all of its steps did. Both lists have the order of P11Wrapper.h.
const std::vector<NamedCall>& ourCalls();
const std::vector<NamedCall>& bareCalls();

/// What a certificate request is made of: NUL-terminated strings laid end to end.
extern Bytes requestSubject;    ///< one pair
extern Bytes requestAttributes; ///< one pair
extern Bytes requestExtensions; ///< one triple
