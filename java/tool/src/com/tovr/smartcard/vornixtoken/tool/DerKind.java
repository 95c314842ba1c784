// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;

/** Tells what is commonly mistaken for a certificate by how it begins. */
final class DerKind {
    static final String PRIVATE_KEY = "a private key";
    static final String REQUEST = "a certificate request";

    private static final int INTEGER = 0x02;
    private static final int OCTET_STRING = 0x04;
    private static final int OBJECT_IDENTIFIER = 0x06;
    private static final int SEQUENCE = 0x30;
    private static final int SET = 0x31;
    private static final int NOTHING = -1;

    private DerKind() {
    }

    /** Returns its name, or null for a certificate and for what is not known. */
    static String name(byte[] der) {
        try {
            ByteBuffer whole = content(ByteBuffer.wrap(der), SEQUENCE);
            if (tag(whole) == INTEGER) {
                return nameByVersion(content(whole, INTEGER));
            }
            if (tag(whole) == OBJECT_IDENTIFIER) {
                return "a PKCS #7 message";
            }
            ByteBuffer first = content(whole, SEQUENCE);
            if (tag(first) == OBJECT_IDENTIFIER) {
                // How a key is encrypted, and the key; what tells the algorithm of a public key has bits behind it.
                return tag(whole) == OCTET_STRING ? PRIVATE_KEY : "a public key";
            }
            // In a request the version is followed by a name, in an old certificate the number by an algorithm.
            content(first, INTEGER);
            int inSecond = tag(content(first, SEQUENCE));
            return inSecond == SET || inSecond == NOTHING ? REQUEST : null;
        } catch (BufferUnderflowException | IllegalArgumentException unknown) {
            return null;
        }
    }

    /** Private keys have the versions 0 and 1, PKCS #1, PKCS #8 and SEC 1 alike; PKCS #12 has 3. */
    private static String nameByVersion(ByteBuffer version) {
        if (version.remaining() != 1) {
            return null;
        }
        switch (version.get()) {
            case 0:
            case 1:
                return PRIVATE_KEY;
            case 3:
                return "a PKCS #12 store";
            default:
                return null;
        }
    }

    private static int tag(ByteBuffer in) {
        return in.hasRemaining() ? in.get(in.position()) : NOTHING;
    }

    /** Takes an element with this tag out of a buffer and returns its content. */
    private static ByteBuffer content(ByteBuffer in, int tag) {
        if (in.get() != tag) {
            throw new IllegalArgumentException("another tag");
        }
        int length = in.get() & 0xFF;
        if (length > 0x80) {
            int bytes = length - 0x80;
            length = 0;
            for (int i = 0; i < bytes; i++) {
                length = length << 8 | in.get() & 0xFF;
            }
        }
        ByteBuffer content = in.slice();
        content.limit(length);
        in.position(in.position() + length);
        return content;
    }
}
