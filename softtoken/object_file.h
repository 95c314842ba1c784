// SPDX-License-Identifier: Apache-2.0
// SoftHSM2's file format, as far as is needed to tell whether a file is complete.
//
// A file is a generation number of 8 bytes, then attributes in the order of their types: type, kind, value.
#pragma once

#include "softtoken/owned.h"

namespace softtoken {

/// Whether a token's file has everything up to its PINs.
[[nodiscard]] bool isWholeToken(const Bytes& file);

/// Whether an object's file has everything up to the last attribute that every object of its class has.
[[nodiscard]] bool isWholeObject(const Bytes& file);

/// Whether two token files are equal except for flags and generation number, which a login changes.
[[nodiscard]] bool areSameToken(const Bytes& one, const Bytes& other);

/// The file with a new generation number. Every process that knows the file then reads it again.
[[nodiscard]] Bytes renumbered(Bytes file);

} // namespace softtoken
