// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.GeneralSecurityException;

/** A token, its module or the library refused a job. */
public final class Pkcs11Exception extends GeneralSecurityException {
    private static final long serialVersionUID = 2L;

    /** Why it was refused. */
    private final Reason reason;
    /** The code of PKCS #11 or PC/SC. */
    private final long code;
    /** The function that failed. */
    private final String step;
    /** What was tried. */
    private final String action;
    /** The library's lines. */
    private final String diagnostics;

    Pkcs11Exception(NativeFailure failure, String action, String diagnostics) {
        super(action + ": " + failure.describe());
        reason = failure.reason();
        code = failure.code;
        step = failure.step;
        this.action = action;
        this.diagnostics = diagnostics;
    }

    /**
     * Returns why the job was refused.
     *
     * @return the reason
     */
    public Reason getReason() {
        return reason;
    }

    /**
     * Returns the code, as the module, the PC/SC service or the library gave it. {@link ReturnCodes} names those of
     * PKCS #11.
     *
     * @return the code, all 64 bits of it; 0 when the module reported success but delivered nothing
     */
    public long getCode() {
        return code;
    }

    /**
     * Returns the code's name.
     *
     * @return the name that PKCS #11 or PC/SC gives it, such as {@code CKR_PIN_INCORRECT}; for a vendor's code
     *         {@code CKR_VENDOR_DEFINED + 0x12}, for an unknown one {@code 0x…}
     */
    public String getCodeName() {
        return PcscCodes.isStep(step) ? PcscCodes.name(code) : ReturnCodes.name(code);
    }

    /**
     * Tells whether the code is in the range that PKCS #11 leaves to vendors.
     *
     * @return whether it is 0x80000000 or above and not one of the PC/SC service
     */
    public boolean isVendorDefined() {
        return ReturnCodes.isVendorDefined(code) && !PcscCodes.isStep(step);
    }

    /**
     * Returns the function that failed.
     *
     * @return its name, {@code C_Login} for instance; {@code search} when an object was not found, {@code dlopen} when
     *         the module could not be loaded; empty when nothing was called
     */
    public String getStep() {
        return step;
    }

    /**
     * Returns what was tried.
     *
     * @return the job and where, for people to read
     */
    public String getAction() {
        return action;
    }

    /**
     * Returns what the library had to say about the job's calls, for support.
     *
     * @return lines, each with its line end; empty when there are none
     */
    public String getDiagnostics() {
        return diagnostics;
    }
}
