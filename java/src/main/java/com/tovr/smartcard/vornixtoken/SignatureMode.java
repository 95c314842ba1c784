// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/**
 * What a signed message holds. The mode word belongs to the module; these are the two words that the software token
 * has, and most modules. For another word there is {@link TokenSession#sign(byte[], byte[], byte[], long, byte[][])}.
 */
public enum SignatureMode {
    /** The message holds the data. */
    ENCLOSED(0),
    /** The message lacks the data. Who verifies it must have them. */
    DETACHED(1);

    private final long word;

    SignatureMode(long word) {
        this.word = word;
    }

    /**
     * Returns the mode word.
     *
     * @return what the module gets
     */
    public long getWord() {
        return word;
    }
}
