// SPDX-License-Identifier: Apache-2.0
// What the library does on a token: each job works in a session that somebody else has opened and closes afterwards.
//
// A job writes its lines to the session's Diagnostics, except those that wait for the closing: they are in the Outcome.
// P11Wrapper.h tells, at the operation of the same task, what a job returns and when it changes an output.
#pragma once

#include "p11/ObjectAttr.h"
#include "p11/outcome.h"
#include "p11/session.h"

#include <string>
#include <string_view>
#include <vector>

/// Bytes that a caller lends to a job. Where there are none, the pointer may be null.
struct ByteRun {
    unsigned char* first;
    CK_ULONG count;
};

/// A run of NUL-terminated texts that belong together in groups, and the number of groups.
struct TextRun {
    unsigned char* first;
    CK_ULONG groups;
};

namespace jobs {

// --- The codes that guard the token: module_access.cpp ---

/// Changes the code of the user who is logged in.
Outcome changePin(const Session& session, ByteRun oldPin, ByteRun newPin);

// --- The token as a whole: token_administration.cpp ---

/// Needs a module, but no session.
Outcome initializeToken(CK_FUNCTION_LIST_PTR functions, CK_SLOT_ID slotId, ByteRun soPin, const Diagnostics& lines);

Outcome destroyObjects(const Session& session);
Outcome listObjects(const Session& session, std::vector<ObjectAttr>& objects);

// --- Certificates and keys: certificates_and_keys.cpp ---

Outcome readCertificate(const Session& session, std::string_view label, ByteRun id, std::vector<unsigned char>& value);
Outcome readPublicKey(const Session& session, std::string_view label, ByteRun id, std::vector<unsigned char>& modulus,
                      std::vector<unsigned char>& exponent);

/// The module takes the label by its NUL.
Outcome importCertificate(const Session& session, const char* label, ByteRun id, ByteRun certificate);
Outcome importBlocks(const Session& session, ByteRun first, ByteRun second);

/// A label without a pointer is none.
Outcome generateRsaKeyPair(const Session& session, CK_ULONG modulusBits, std::string_view label, ByteRun id);
Outcome generateGostKeyPair(const Session& session, std::string_view label, ByteRun id);

// --- Signatures and requests: signatures_and_requests.cpp ---

Outcome signMessage(const Session& session, ByteRun data, ByteRun certificateId, ByteRun keyId,
                    const std::vector<std::vector<unsigned char>>& furtherIds, CK_ULONG flags,
                    std::vector<unsigned char>& message);

/// Needs a module, but no session.
Outcome verifyMessage(CK_FUNCTION_LIST_PTR functions, ByteRun firstInput, ByteRun secondInput);

Outcome createRequest(const Session& session, ByteRun publicKeyId, ByteRun privateKeyId, TextRun subject,
                      TextRun attributes, TextRun extensions, std::vector<unsigned char>& request);

} // namespace jobs
