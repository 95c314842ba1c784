// SPDX-License-Identifier: Apache-2.0
// The transcript: one readable line for every call that the library makes to the outside, in order.
#pragma once

#include "tests/support/names.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace scripted {

using Bytes = std::vector<unsigned char>;

/// The calls of one test to module, loader, PC/SC and Java. Several threads may add lines.
class Transcript {
public:
    /// Adds a line. `printedBefore` is CapturedOutput::printed() at the time of the call.
    void add(std::string line, std::size_t printedBefore);

    /// Adds a line for something that happens right now.
    void add(std::string line);

    /// The calls, one a line.
    [[nodiscard]] std::string calls() const;

    /// The calls with `output` (what went to standard output) between them, each printed line where it was written and
    /// prefixed by "| ". Text after the last line end has the prefix "|…", so a line that lacks its end differs.
    [[nodiscard]] std::string story(const std::string& output) const;

    [[nodiscard]] std::size_t size() const;
    void clear();

    /// Receives every line as it is added.
    std::function<void(const std::string&)> onLine;

private:
    struct Entry {
        std::string line;
        std::size_t printedBefore;
    };
    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

// --- Arguments as text ---

/// `null [3]`, `"text" [4]` when all bytes are printable ASCII, otherwise `0a0b [2]`. Reads all `length` bytes.
[[nodiscard]] std::string runText(const void* bytes, unsigned long length);

/// `null`, `zeros [3]` when all bytes are 0, otherwise as runText: the state in which an output buffer arrives.
[[nodiscard]] std::string bufferText(const void* bytes, unsigned long length);

/// `{CKA_CLASS CKO_DATA [8], CKA_LABEL "x" [1]}`: a template whose values are inputs.
[[nodiscard]] std::string templateText(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/// `{CKA_CLASS null [0], CKA_LABEL zeros [5]}`: a template whose values are output buffers.
[[nodiscard]] std::string queryText(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/// `[8, 2, none]`: the lengths that a query reports, "none" for CK_UNAVAILABLE_INFORMATION.
[[nodiscard]] std::string lengthsText(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/// `{1, 2}`, or `null`.
[[nodiscard]] std::string handlesText(const CK_ULONG* handles, CK_ULONG count);

/// `null` or `"text"`.
[[nodiscard]] std::string stringText(const char* text);

/// `null` or `set`.
[[nodiscard]] std::string pointerText(const void* pointer);

} // namespace scripted
