// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.Objects;

/**
 * A PIN or PUK for as long as it is needed. It takes over what it is made of and wipes its own copy when it is closed:
 *
 * <pre>
 * try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
 *         Pin chosen = Pin.of(System.getenv("VORNIX_NEW_PIN").toCharArray())) {
 *     token.changePin(pin, chosen);
 * }
 * </pre>
 *
 * <p>Any thread may close it. A job that has begun keeps its own copy; one that still waits for its turn fails.
 *
 * <p>A PIN equals only itself, so no comparison reveals anything of it.
 *
 * <p>The library wipes the copies that it makes. It cannot wipe those that the virtual machine's garbage collector
 * makes.
 */
public final class Pin implements AutoCloseable {
    private final byte[] bytes;
    private boolean closed;

    private Pin(byte[] bytes) {
        this.bytes = bytes;
    }

    /**
     * Makes a PIN of characters, in UTF-8, and wipes the array.
     *
     * @param characters the PIN, all zero afterwards
     * @return the PIN
     * @throws IllegalArgumentException when the characters are no valid text, half a surrogate pair for instance
     */
    public static Pin of(char[] characters) {
        Objects.requireNonNull(characters, "characters");
        return encoded(characters, ByteBuffer.allocate(3 * characters.length));
    }

    /** Encodes through a buffer with room for three bytes a character, and wipes characters and buffer. */
    static Pin encoded(char[] characters, ByteBuffer encoded) {
        try {
            if (StandardCharsets.UTF_8.newEncoder().encode(CharBuffer.wrap(characters), encoded, true).isError()) {
                throw new IllegalArgumentException("the PIN is not a valid text");
            }
            return new Pin(Arrays.copyOf(encoded.array(), encoded.position()));
        } finally {
            Arrays.fill(encoded.array(), (byte) 0);
            Arrays.fill(characters, '\0');
        }
    }

    /**
     * Makes a PIN of bytes, as they are, and wipes the array.
     *
     * @param bytes the PIN, all zero afterwards
     * @return the PIN
     */
    public static Pin of(byte[] bytes) {
        Objects.requireNonNull(bytes, "bytes");
        Pin pin = new Pin(bytes.clone());
        Arrays.fill(bytes, (byte) 0);
        return pin;
    }

    /**
     * Makes an empty PIN, which many modules take for "entered on the reader itself".
     *
     * @return the PIN
     */
    public static Pin none() {
        return new Pin(new byte[0]);
    }

    /** What is done with a copy. */
    interface Use<T> {
        T of(byte[] copy) throws NativeFailure;
    }

    /** Does a job with a copy of the PIN, so that no zeros are sent if the PIN is closed meanwhile. */
    <T> T lend(Use<T> job) throws NativeFailure {
        byte[] copy = copy();
        try {
            return job.of(copy);
        } finally {
            Arrays.fill(copy, (byte) 0);
        }
    }

    private synchronized byte[] copy() {
        return bytes().clone();
    }

    synchronized byte[] bytes() {
        if (closed) {
            throw new IllegalStateException("the PIN is closed");
        }
        return bytes;
    }

    /** Wipes the PIN. It cannot be used any more. */
    @Override
    public synchronized void close() {
        closed = true;
        Arrays.fill(bytes, (byte) 0);
    }

    /** Reveals nothing of the PIN. */
    @Override
    public String toString() {
        return "Pin";
    }
}
