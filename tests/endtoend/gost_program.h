// SPDX-License-Identifier: Apache-2.0
// Other people's programs that know GOST R 34.10-2001.
#pragma once

#include "tests/endtoend/tools.h"

namespace endtoend {

/// All names are of files in the folder. Those called "ca" are an RSA authority's.
class GostProgram {
public:
    virtual ~GostProgram() = default;
    GostProgram(const GostProgram&) = delete;
    GostProgram& operator=(const GostProgram&) = delete;

    const std::string name;

    /// "request.der" by itself: good requests are `verified`, others are not.
    virtual Outcome verifyRequest(const Folder& folder) const = 0;

    /// "issued.der" for "request.der", by "ca.pem" and "ca.key".
    virtual Outcome issue(const Folder& folder) const = 0;

    /// "message.der" by "ca.pem"; writes the content to "verified". A detached content is in a file of its own.
    virtual Outcome verifyMessage(const Folder& folder, const std::string& detached = "") const = 0;

    /// "own.key" and its certificate "own.pem"
    virtual Outcome makeSigner(const Folder& folder) const = 0;

    enum class Attributes { Signed, None };

    /// "own.der" with "content" enclosed, by "own.key"
    virtual Outcome signMessage(const Folder& folder, Attributes attributes) const = 0;

protected:
    explicit GostProgram(std::string itsName) : name(std::move(itsName)) {}
};

/// Those that the build has found, at least one.
const std::vector<const GostProgram*>& gostPrograms();

} // namespace endtoend
