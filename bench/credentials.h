// SPDX-License-Identifier: Apache-2.0
// An RSA key pair and a certificate for it, as the objects of a token hold them.
#pragma once

#include "bench/calls.h"

struct Credentials {
    Bytes modulus;
    Bytes publicExponent;
    Bytes privateExponent;
    Bytes primes[2];
    Bytes exponents[2];
    Bytes coefficient;
    Bytes certificate; ///< DER, signed with the key itself
    Bytes subject;     ///< DER, also the issuer
    Bytes serialNumber;
};

/// Makes a key of 2048 bits.
Credentials makeCredentials(const std::string& commonName);
