// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.SecureRandom;
import java.util.Arrays;

/** The ID that a key pair and its certificate share: some bytes, commonly written in hexadecimal. */
public final class ObjectId {
    private static final int RANDOM_BYTES = 16;

    private final byte[] bytes;

    private ObjectId(byte[] bytes) {
        this.bytes = bytes;
    }

    /**
     * Takes an ID's bytes.
     *
     * @param bytes the bytes; none for an object without an ID
     * @return the ID
     */
    public static ObjectId of(byte... bytes) {
        return new ObjectId(bytes.clone());
    }

    /**
     * Reads an ID from text.
     *
     * @param text hexadecimal digits, two a byte; a colon or a blank may stand between two bytes
     * @return the ID
     * @throws IllegalArgumentException when the text is something else
     */
    public static ObjectId parse(String text) {
        if (!text.matches("([0-9a-fA-F]{2}([: ](?=.))?)*")) {
            throw new IllegalArgumentException("not an ID in hexadecimal: " + text);
        }
        String digits = text.replaceAll("[: ]", "");
        byte[] bytes = new byte[digits.length() / 2];
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] = (byte) Integer.parseInt(digits.substring(2 * i, 2 * i + 2), 16);
        }
        return new ObjectId(bytes);
    }

    /**
     * Makes an ID that no other object has, as far as chance allows.
     *
     * @return an ID of 16 random bytes
     */
    public static ObjectId random() {
        byte[] bytes = new byte[RANDOM_BYTES];
        new SecureRandom().nextBytes(bytes);
        return new ObjectId(bytes);
    }

    /**
     * Returns the bytes.
     *
     * @return a copy
     */
    public byte[] getBytes() {
        return bytes.clone();
    }

    /** Tells whether the other has the same bytes. */
    @Override
    public boolean equals(Object other) {
        return other instanceof ObjectId && Arrays.equals(bytes, ((ObjectId) other).bytes);
    }

    @Override
    public int hashCode() {
        return Arrays.hashCode(bytes);
    }

    /** Returns lowercase hexadecimal digits, two a byte. */
    @Override
    public String toString() {
        StringBuilder text = new StringBuilder(2 * bytes.length);
        for (byte each : bytes) {
            text.append(Character.forDigit(each >> 4 & 0xf, 16)).append(Character.forDigit(each & 0xf, 16));
        }
        return text.toString();
    }
}
