// SPDX-License-Identifier: Apache-2.0
package demo;

import java.util.Arrays;
import java.util.List;

/** Arithmetic of bytes. */
final class Bytes {
    private Bytes() {
    }

    static byte[] of(List<Byte> list) {
        byte[] bytes = new byte[list.size()];
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] = list.get(i);
        }
        return bytes;
    }

    static String hex(byte[] bytes) {
        StringBuilder text = new StringBuilder();
        for (byte b : bytes) {
            text.append(String.format("%02x", b));
        }
        return text.toString();
    }

    static boolean contains(byte[] whole, byte[] part) {
        return indexOf(whole, part) >= 0;
    }

    /** A copy of {@code whole} in which the first byte of {@code part} is another one. */
    static byte[] tampered(byte[] whole, byte[] part) {
        int index = indexOf(whole, part);
        if (index < 0) {
            throw new Surprise("what was to be tampered with is not there");
        }
        byte[] copy = whole.clone();
        copy[index] ^= 1;
        return copy;
    }

    private static int indexOf(byte[] whole, byte[] part) {
        for (int start = 0; start + part.length <= whole.length; start++) {
            if (Arrays.equals(whole, start, start + part.length, part, 0, part.length)) {
                return start;
            }
        }
        return -1;
    }
}
