// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.Collections;
import java.util.EnumSet;
import java.util.Objects;
import java.util.Set;

/** The description of a token. */
public final class TokenInfo {
    private final String label;
    private final String manufacturer;
    private final String model;
    private final String serialNumber;
    private final long flags;

    TokenInfo(String label, String manufacturer, String model, String serialNumber, String flags) {
        this(label, manufacturer, model, serialNumber, Long.parseUnsignedLong(flags, 16));
    }

    TokenInfo(String label, String manufacturer, String model, String serialNumber, long flags) {
        this.label = label;
        this.manufacturer = manufacturer;
        this.model = model;
        this.serialNumber = serialNumber;
        this.flags = flags;
    }

    /**
     * Returns the token's label.
     *
     * @return the label, without trailing blanks
     */
    public String getLabel() {
        return label;
    }

    /**
     * Returns the token's manufacturer.
     *
     * @return the manufacturer, without trailing blanks
     */
    public String getManufacturer() {
        return manufacturer;
    }

    /**
     * Returns the token's model.
     *
     * @return the model, without trailing blanks
     */
    public String getModel() {
        return model;
    }

    /**
     * Returns the token's serial number.
     *
     * @return the serial number, without trailing blanks
     */
    public String getSerialNumber() {
        return serialNumber;
    }

    /**
     * Returns the token's flags as a word, vendors' bits included.
     *
     * @return the flags
     */
    public long getFlagWord() {
        return flags;
    }

    /**
     * Returns the token's flags by name.
     *
     * @return the flags of PKCS #11 that are set
     */
    public Set<Flag> getFlags() {
        Set<Flag> set = EnumSet.noneOf(Flag.class);
        for (Flag flag : Flag.values()) {
            if ((flags & flag.bit) != 0) {
                set.add(flag);
            }
        }
        return Collections.unmodifiableSet(set);
    }

    /** Tells whether the other description says the same. */
    @Override
    public boolean equals(Object other) {
        if (!(other instanceof TokenInfo)) {
            return false;
        }
        TokenInfo info = (TokenInfo) other;
        return label.equals(info.label) && manufacturer.equals(info.manufacturer) && model.equals(info.model)
                && serialNumber.equals(info.serialNumber) && flags == info.flags;
    }

    @Override
    public int hashCode() {
        return Objects.hash(label, manufacturer, model, serialNumber, flags);
    }

    /** Returns label, model and serial number, for people to read. */
    @Override
    public String toString() {
        return (label.isEmpty() ? "a token without a label" : label)
                + " (" + model + (serialNumber.isEmpty() ? "" : ", " + serialNumber) + ")";
    }

    /** The flags of a token, PKCS #11 v2.40, section 3.2. */
    public enum Flag {
        /** The token has a random number generator. */
        RNG(0x1),
        /** The token is write-protected. */
        WRITE_PROTECTED(0x2),
        /** Some jobs need a login. */
        LOGIN_REQUIRED(0x4),
        /** A user PIN is set. */
        USER_PIN_INITIALIZED(0x8),
        /** A saved state of cryptographic operations holds all keys that it needs. */
        RESTORE_KEY_NOT_NEEDED(0x20),
        /** The token has a clock. */
        CLOCK_ON_TOKEN(0x40),
        /** The PIN can be entered on the reader itself. */
        PROTECTED_AUTHENTICATION_PATH(0x100),
        /** A session can do two cryptographic operations at once. */
        DUAL_CRYPTO_OPERATIONS(0x200),
        /** The token is initialised. */
        TOKEN_INITIALIZED(0x400),
        /** Private keys may need an authentication of their own. */
        SECONDARY_AUTHENTICATION(0x800),
        /** A wrong user PIN was entered since the last right one. */
        USER_PIN_COUNT_LOW(0x10000),
        /** Another wrong user PIN locks it. */
        USER_PIN_FINAL_TRY(0x20000),
        /** The user PIN is locked. */
        USER_PIN_LOCKED(0x40000),
        /** The user PIN is the default one or has expired. */
        USER_PIN_TO_BE_CHANGED(0x80000),
        /** A wrong PUK was entered since the last right one. */
        SO_PIN_COUNT_LOW(0x100000),
        /** Another wrong PUK locks it. */
        SO_PIN_FINAL_TRY(0x200000),
        /** The PUK is locked. */
        SO_PIN_LOCKED(0x400000),
        /** The PUK is the default one or has expired. */
        SO_PIN_TO_BE_CHANGED(0x800000),
        /** The token failed a test of itself. */
        ERROR_STATE(0x1000000);

        private final long bit;

        Flag(long bit) {
            this.bit = bit;
        }
    }
}
