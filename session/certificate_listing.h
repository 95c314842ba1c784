// SPDX-License-Identifier: Apache-2.0
// A listing of certificates with their contents.
#pragma once

#include "jni/secret_bytes.h"
#include "p11/outcome.h"
#include "p11/session.h"

#include <vector>

struct ListedCertificate {
    Bytes label;
    Bytes id;
    Bytes value;        ///< as stored
    bool hasPrivateKey; ///< a private key has the same ID, and the ID is not empty
};

namespace jobs {

/// Reads every certificate that the session's user sees. One that cannot be read is reported and left out; if it is the
/// last one, the code tells why.
Outcome listCertificates(const Session& session, std::vector<ListedCertificate>& certificates);

} // namespace jobs
