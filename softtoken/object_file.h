// SPDX-License-Identifier: Apache-2.0
// SoftHSM2's files, as far as the store must judge whether they are whole.
//
// A file is a generation number of 8 bytes, then attributes in the order of their types: type, kind, value.
#pragma once

#include "softtoken/owned.h"

namespace softtoken {

/// Whether a token's file has everything up to its PINs.
bool isWholeToken(const Bytes& file);

/// Whether an object's file has everything up to the last attribute that each object of its class has.
bool isWholeObject(const Bytes& file);

/// Whether two token files say the same: a login alters their flags and generation numbers only.
bool areSameToken(const Bytes& one, const Bytes& other);

/// The file with a generation number that it never had, so that every process which knows the file reads it again.
Bytes renumbered(Bytes file);

} // namespace softtoken
