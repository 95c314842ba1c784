// SPDX-License-Identifier: Apache-2.0
package recipes;

import java.io.ByteArrayOutputStream;
import java.math.BigInteger;
import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * One element of a DER encoding (ITU-T X.690): as much of it as these recipes need to read and to rebuild a signed
 * message. It never changes. Whatever is not DER is an {@link IllegalArgumentException}.
 */
final class Der {
    static final int INTEGER = 0x02;
    static final int OCTETS = 0x04;
    static final int SEQUENCE = 0x30;
    static final int SET = 0x31;
    /** In a path: the last child. */
    static final int LAST = -1;

    private static final int OBJECT_IDENTIFIER = 0x06;

    final int tag;
    final byte[] content;

    private Der(int tag, byte[] content) {
        this.tag = tag;
        this.content = content;
    }

    /** The number n in the brackets of ASN.1, around other elements. */
    static int bracket(int n) {
        return 0xa0 + n;
    }

    static Der of(int tag, byte... content) {
        return new Der(tag, content);
    }

    static Der of(int tag, Der... children) {
        ByteArrayOutputStream all = new ByteArrayOutputStream();
        for (Der child : children) {
            all.writeBytes(child.encode());
        }
        return new Der(tag, all.toByteArray());
    }

    static Der identifier(String dotted) {
        String[] arcs = dotted.split("\\.");
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        out.write(40 * Integer.parseInt(arcs[0]) + Integer.parseInt(arcs[1]));
        for (int i = 2; i < arcs.length; i++) {
            int arc = Integer.parseInt(arcs[i]);
            for (int shift = 28; shift >= 0; shift -= 7) {
                if (arc >>> shift != 0 || shift == 0) {
                    out.write(arc >>> shift & 0x7f | (shift == 0 ? 0 : 0x80));
                }
            }
        }
        return of(OBJECT_IDENTIFIER, out.toByteArray());
    }

    static Der integer(BigInteger value) {
        return of(INTEGER, value.toByteArray());
    }

    /** Reads exactly one element. */
    static Der parse(byte[] encoded) {
        List<Der> elements = elements(encoded);
        if (elements.size() != 1) {
            throw new IllegalArgumentException(elements.size() + " elements in place of one");
        }
        return elements.get(0);
    }

    List<Der> children() {
        return elements(content);
    }

    /** Follows a path of children's numbers. */
    Der at(int... path) {
        Der found = this;
        for (int index : path) {
            List<Der> children = found.children();
            int wanted = index == LAST ? children.size() - 1 : index;
            if (wanted < 0 || wanted >= children.size()) {
                throw new IllegalArgumentException("an element is missing");
            }
            found = children.get(wanted);
        }
        return found;
    }

    /** Returns this element with another one at the end of the path. */
    Der with(Der other, int... path) {
        if (path.length == 0) {
            return other;
        }
        Der[] children = children().toArray(new Der[0]);
        int index = path[0] == LAST ? children.length - 1 : path[0];
        children[index] = children[index].with(other, Arrays.copyOfRange(path, 1, path.length));
        return of(tag, children);
    }

    byte[] encode() {
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        out.write(tag);
        byte[] length = BigInteger.valueOf(content.length).toByteArray();
        if (content.length > 0x7f) {
            int zero = length[0] == 0 ? 1 : 0;
            out.write(0x80 + length.length - zero);
            out.write(length, zero, length.length - zero);
        } else {
            out.write(content.length);
        }
        out.writeBytes(content);
        return out.toByteArray();
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Der && tag == ((Der) other).tag && Arrays.equals(content, ((Der) other).content);
    }

    @Override
    public int hashCode() {
        return 31 * tag + Arrays.hashCode(content);
    }

    private static List<Der> elements(byte[] encoded) {
        List<Der> elements = new ArrayList<>();
        ByteBuffer in = ByteBuffer.wrap(encoded);
        try {
            while (in.hasRemaining()) {
                int tag = in.get() & 0xff;
                long length = in.get() & 0xff;
                if (length > 0x7f) {
                    byte[] digits = take(in, length - 0x80, Integer.BYTES);
                    length = digits.length == 0 ? Long.MAX_VALUE : new BigInteger(1, digits).longValue();
                }
                elements.add(new Der(tag, take(in, length, in.remaining())));
            }
        } catch (BufferUnderflowException cut) {
            throw new IllegalArgumentException("cut off", cut);
        }
        return elements;
    }

    private static byte[] take(ByteBuffer in, long length, int limit) {
        if (length > limit) {
            throw new IllegalArgumentException("not DER, or cut off");
        }
        byte[] bytes = new byte[(int) length];
        in.get(bytes);
        return bytes;
    }
}
