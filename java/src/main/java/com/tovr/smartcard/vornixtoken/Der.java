// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.Arrays;

/** The outermost element of a DER structure. */
final class Der {
    private static final int SEQUENCE = 0x30;
    private static final int LONG_FORM = 0x80;

    private Der() {
    }

    /** Returns a sequence without the zeros behind it; anything else as it is. */
    static byte[] withoutPadding(byte[] der) {
        int end = end(der);
        for (int i = end; i < der.length; i++) {
            if (der[i] != 0) {
                return der;
            }
        }
        return end == der.length ? der : Arrays.copyOf(der, end);
    }

    /** Returns where a sequence ends. If the bytes are no whole sequence, returns their length. */
    private static int end(byte[] der) {
        if (der.length < 2 || der[0] != SEQUENCE) {
            return der.length;
        }
        int first = der[1] & 0xff;
        int header = first < LONG_FORM ? 2 : 2 + (first - LONG_FORM);
        if (first == LONG_FORM || header > der.length) {
            return der.length;
        }
        long length = first < LONG_FORM ? first : 0;
        for (int i = 2; i < header && length <= der.length; i++) {
            length = length << 8 | der[i] & 0xff;
        }
        return (int) Math.min(header + length, der.length);
    }
}
