// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Reason;

/** The tool refuses where the library has nothing to refuse by itself. */
final class Refusal extends Exception {
    private static final long serialVersionUID = 1L;

    final Reason reason;

    Refusal(Reason reason, String message) {
        super(message);
        this.reason = reason;
    }
}
