// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.ByteBuffer;

/** Reads the fields of a native call's packed result, one after the other. */
final class Fields {
    private final ByteBuffer packed;

    Fields(byte[] packed) {
        this.packed = ByteBuffer.wrap(packed);
    }

    boolean hasNext() {
        return packed.hasRemaining();
    }

    byte[] bytes() {
        byte[] field = new byte[packed.getInt()];
        packed.get(field);
        return field;
    }

    String text() {
        int length = packed.getInt();
        int begin = packed.position();
        packed.position(begin + length);
        return Texts.decode(packed.array(), begin, length);
    }

    long number() {
        packed.getInt();
        return packed.getLong();
    }
}
