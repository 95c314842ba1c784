// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** This library refuses by itself, or knows more of a native failure than its code tells. */
final class Refusal extends NativeFailure {
    private static final long serialVersionUID = 1L;

    private final Reason reason;
    private final String description;

    /** Nothing was called. The code is the one that fits best. */
    Refusal(Reason reason, long code, String description) {
        super(code, "", "");
        this.reason = reason;
        this.description = description;
    }

    /** A native failure for another reason than its code's. */
    Refusal(Reason reason, NativeFailure failure, String hint) {
        super(failure.code, failure.step, failure.diagnostics);
        this.reason = reason;
        this.description = failure.describe() + hint;
    }

    @Override
    Reason reason() {
        return reason;
    }

    @Override
    String describe() {
        return description;
    }
}
