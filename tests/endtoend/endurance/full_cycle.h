// SPDX-License-Identifier: Apache-2.0
// What an application does with the software token through the library, each job with a wrapper of its own.
#pragma once

#include "p11/P11Wrapper.h"
#include "tests/endtoend/tools.h"

#include <functional>
#include <string>

namespace endtoend {

inline constexpr const char* keyLabel = "endurance";
inline const std::string otherPin = "abcdefgh";

/// Runs one job as a native method does: load, initialise, find the reader, work, finalise, unload. Returns its code.
CK_RV onToken(const std::function<CK_RV(P11Wrapper&, CK_SLOT_ID)>& job);

/// Jobs that use the PINs as initialisation leaves them. Each returns the library's code.
CK_RV initialise();
CK_RV generateKeyPair(const Bytes& id = {0x01});
CK_RV generateGostKeyPair(const Bytes& id);
CK_RV request(Bytes& csr);
CK_RV import(Bytes certificate);
CK_RV list(std::vector<ObjectAttr>& objects);
CK_RV readCertificate(Bytes& certificate);
CK_RV sign(Bytes content, Bytes& message);
CK_RV verify(Bytes message);
CK_RV clean();
CK_RV changePin(const std::string& from, const std::string& to);
CK_RV changePuk(const std::string& from, const std::string& to);

/// An initialised token with a key pair and its certificate, kept in `folder`.
void prepareToken(const Folder& folder);

/// All the jobs that leave the token as it was. One changes the PIN to itself, which writes to the token. Returns the
/// first code that is not 0, or 5 when a result is wrong.
CK_RV fullCycle();

} // namespace endtoend
