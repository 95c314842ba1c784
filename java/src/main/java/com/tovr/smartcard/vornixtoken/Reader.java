// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.charset.StandardCharsets;
import java.util.Objects;
import java.util.Optional;

/** A slot of a module: a reader, and the token in it. */
public final class Reader {
    private static final long TOKEN_PRESENT = 1;

    private final long slot;
    /** As the slot has it. A name that was cut may end in the middle of a character. */
    private final byte[] rawName;
    private final String manufacturer;
    private final long flags;
    private final long tokenCode;
    private final TokenInfo token;

    Reader(Fields fields) {
        slot = fields.number();
        rawName = fields.bytes();
        manufacturer = fields.text();
        flags = fields.number();
        tokenCode = fields.number();
        TokenInfo info = new TokenInfo(fields.text(), fields.text(), fields.text(), fields.text(), fields.number());
        token = tokenCode == ReturnCodes.CKR_OK ? info : null;
    }

    /**
     * Returns the module's number for the slot. It may change when readers come and go.
     *
     * @return the number
     */
    public long getSlot() {
        return slot;
    }

    /**
     * Returns the reader's name, which {@link Token#Token} takes.
     *
     * @return the slot's description, without trailing blanks, 64 bytes at most
     */
    public String getName() {
        return Texts.decode(rawName, 0, rawName.length);
    }

    /**
     * Returns the reader's manufacturer.
     *
     * @return the slot's manufacturer, without trailing blanks
     */
    public String getManufacturer() {
        return manufacturer;
    }

    /**
     * Returns the slot's flags as a word.
     *
     * @return the flags
     */
    public long getFlagWord() {
        return flags;
    }

    /**
     * Tells whether a token is in the reader.
     *
     * @return whether the slot's flags say so
     */
    public boolean isTokenPresent() {
        return (flags & TOKEN_PRESENT) != 0;
    }

    /**
     * Returns the token's description.
     *
     * @return the description, none when there is no token or the module cannot describe it
     */
    public Optional<TokenInfo> getToken() {
        return Optional.ofNullable(token);
    }

    /**
     * Tells why there is no description of the token.
     *
     * @return the module's code, 0 when there is a description
     */
    public long getTokenCode() {
        return tokenCode;
    }

    byte[] rawName() {
        return rawName;
    }

    byte[] rawManufacturer() {
        return manufacturer.getBytes(StandardCharsets.UTF_8);
    }

    /** Tells whether the other describes the same slot in the same way. */
    @Override
    public boolean equals(Object other) {
        if (!(other instanceof Reader)) {
            return false;
        }
        Reader reader = (Reader) other;
        return slot == reader.slot && getName().equals(reader.getName()) && manufacturer.equals(reader.manufacturer)
                && flags == reader.flags && tokenCode == reader.tokenCode && Objects.equals(token, reader.token);
    }

    @Override
    public int hashCode() {
        return Objects.hash(slot, getName(), manufacturer, flags, tokenCode, token);
    }

    /** Returns the reader's name and the token, for people to read. */
    @Override
    public String toString() {
        String name = "'" + getName() + "'";
        return token == null ? name : name + " with " + token;
    }
}
