// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** A native call failed. The API turns it into a {@link Pkcs11Exception}. */
class NativeFailure extends Exception {
    private static final long serialVersionUID = 1L;

    final long code;
    final String step;
    final String diagnostics;

    NativeFailure(long code, String step, String diagnostics) {
        super(step, null, false, false);
        this.code = code;
        this.step = step;
        this.diagnostics = diagnostics;
    }

    Reason reason() {
        return Reason.of(code, step);
    }

    /** Returns the code, what it means where the step gives it a meaning of its own, and where it comes from. */
    String describe() {
        String text = codeName() + " (" + ReturnCodes.hex(code) + ")";
        switch (step) {
            case "search":
                return text + ", no such object";
            case "C_GetFunctionList":
                return text + ", the file is no PKCS #11 module";
            default:
                return text + " from " + step + (code == ReturnCodes.CKR_OK ? ", but nothing was delivered" : "");
        }
    }

    private String codeName() {
        return PcscCodes.isStep(step) ? PcscCodes.name(code) : ReturnCodes.name(code);
    }
}
