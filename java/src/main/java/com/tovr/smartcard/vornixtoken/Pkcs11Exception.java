// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.GeneralSecurityException;

/** A token, its module or the library refused a job. */
public final class Pkcs11Exception extends GeneralSecurityException {
    private static final long serialVersionUID = 1L;

    /** The PKCS #11 code. */
    private final long code;
    /** What was tried. */
    private final String action;

    Pkcs11Exception(long code, String action) {
        super(action + ": " + ReturnCodes.describe(code));
        this.code = code;
        this.action = action;
    }

    /**
     * Returns the PKCS #11 code, as the module or the library gave it.
     *
     * @return the code, all 64 bits of it; 0 when the module reported success but delivered nothing
     */
    public long getCode() {
        return code;
    }

    /**
     * Returns the code's name.
     *
     * @return the name that PKCS #11 gives it, such as {@code CKR_PIN_INCORRECT}; for a vendor's code
     *         {@code CKR_VENDOR_DEFINED + 0x12}, for an unknown one {@code 0x…}
     */
    public String getCodeName() {
        return ReturnCodes.name(code);
    }

    /**
     * Tells whether the code is in the range that PKCS #11 leaves to vendors.
     *
     * @return whether it is 0x80000000 or above
     */
    public boolean isVendorDefined() {
        return ReturnCodes.isVendorDefined(code);
    }

    /**
     * Returns what was tried.
     *
     * @return the job and where, for people to read
     */
    public String getAction() {
        return action;
    }
}
