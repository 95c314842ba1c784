// SPDX-License-Identifier: Apache-2.0
// The PC/SC service.
#pragma once

#include <winscard.h>

/// A connection to the PC/SC service, released at the end of its scope.
class PcscContext {
public:
    PcscContext() : result_(SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &handle_)) {}
    ~PcscContext()
    {
        if (result_ == SCARD_S_SUCCESS)
            (void)SCardReleaseContext(handle_); // nothing can be done about a service that went away
    }
    PcscContext(const PcscContext&) = delete;
    PcscContext& operator=(const PcscContext&) = delete;

    LONG result() const { return result_; }
    SCARDCONTEXT handle() const { return handle_; }

private:
    SCARDCONTEXT handle_ = 0;
    LONG result_;
};
