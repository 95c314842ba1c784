// Outputs of a length that only the module knows (PKCS #11 v2.40, section 5.2).
#pragma once

#include "p11/P11Wrapper.h"
#include "p11/diagnostics.h"

#include <string>
#include <vector>

/// What a failing fetch writes before ". Code: ", for its length query and for its fill call.
struct FetchTexts {
    std::string query;
    std::string fill;
};

/// Makes `call` twice: as a length query, and once more after `provide` has put zero-filled buffers of exactly the
/// announced lengths in place. `provide` returns false when there is nothing to fetch. Returns the code of the last
/// call made; a failure is written.
template <typename Call, typename Provide>
CK_RV twoCallFetch(const FetchTexts& texts, Call call, Provide provide)
{
    CK_RV rv = call();
    if (rv != CKR_OK) {
        diagnose(texts.query, ". Code: ", rv);
        return rv;
    }
    if (!provide())
        return rv;
    rv = call();
    if (rv != CKR_OK)
        diagnose(texts.fill, ". Code: ", rv);
    return rv;
}

/// Gives an attribute whose length is announced its zero-filled buffer; length 0 has none.
inline void provideBuffer(CK_ATTRIBUTE& attribute, std::vector<unsigned char>& buffer)
{
    buffer.assign(attribute.ulValueLen, 0);
    attribute.pValue = buffer.empty() ? nullptr : buffer.data();
}
