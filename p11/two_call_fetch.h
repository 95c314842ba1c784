// SPDX-License-Identifier: Apache-2.0
// Outputs of a length that only the module knows (PKCS #11 v2.40, section 5.2).
#pragma once

#include "p11/diagnostics.h"

#include <p11-kit/pkcs11.h>

#include <vector>

/// The words of a failing length query and of a failing fill call.
struct FetchWords {
    const char* query;
    const char* fill;
};

/// Makes `call` twice: as a length query, and once more after `provide` has put zero-filled buffers of exactly the
/// announced lengths in place. `provide` returns false when there is nothing to fetch. Returns the code of the last
/// call made. A failure is written: its words, `subject` if there is one, ". Code: " and the code.
template <typename Call, typename Provide, typename... Subject>
[[nodiscard]] CK_RV twoCallFetch(const Diagnostics& lines, const FetchWords& words, const Call& call,
                                 const Provide& provide, const Subject&... subject)
{
    CK_RV rv = call();
    if (rv != CKR_OK) {
        diagnose(lines, words.query, subject..., ". Code: ", rv);
        return rv;
    }
    if (!provide())
        return rv;
    rv = call();
    if (rv != CKR_OK)
        diagnose(lines, words.fill, subject..., ". Code: ", rv);
    return rv;
}

/// Gives an attribute whose length is announced its zero-filled buffer; length 0 has none.
inline void provideBuffer(CK_ATTRIBUTE& attribute, std::vector<unsigned char>& buffer)
{
    buffer.assign(attribute.ulValueLen, 0);
    attribute.pValue = buffer.empty() ? nullptr : buffer.data();
}
