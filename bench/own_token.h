// SPDX-License-Identifier: Apache-2.0
// A token in a folder of its own, on SoftHSM2 or on the software token, for calls to be timed on.
#pragma once

#include "bench/calls.h"
#include "bench/credentials.h"

#include <filesystem>
#include <string>

class OwnToken {
public:
    /// Blank tokens in folders below `folder`.
    static OwnToken onSoftHsm2(const std::filesystem::path& folder);
    static OwnToken onSoftwareToken(const std::filesystem::path& folder);

    /// Tells the module by the environment where its token is. Call it whenever the module changes: the software token
    /// sets SoftHSM2's variable too.
    void select() const;

    /// Selects the token, sets the user PIN and makes the token hold nothing but a certificate, its key pair and nine
    /// data objects.
    void restore();

    Inputs& inputs() { return inputs_; }

private:
    OwnToken(const char* module, std::string variable, const std::filesystem::path& setting);

    /// Initialises the token in the slot that `inputs().reader` names.
    void initialise();

    std::string variable_;
    std::string setting_;
    Credentials credentials_;
    Inputs inputs_;
};
