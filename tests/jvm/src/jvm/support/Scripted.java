// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;

/** The scripted module and what its token is known to hold, with the helpers that calls on it need. */
public final class Scripted {
    public static final String MODULE = System.getProperty("vornix.scripted.module");
    public static final String READER = "Scripted Reader 0";
    public static final byte[] PIN = ascii("12345678");
    public static final byte[] SO_PIN = ascii("87654321");
    public static final byte[] WRONG_PIN = ascii("00000000");
    public static final byte[] NONE = {};

    private Scripted() {
    }

    public static byte[] ascii(String text) {
        return text.getBytes(StandardCharsets.US_ASCII);
    }

    /** Runs of bytes as the natives deliver them, back as a text. */
    public static String text(List<Byte> bytes) {
        return new String(array(bytes), StandardCharsets.ISO_8859_1);
    }

    public static byte[] array(List<Byte> bytes) {
        byte[] array = new byte[bytes.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = bytes.get(i);
        }
        return array;
    }

    public static ArrayList<Byte> list(int... bytes) {
        ArrayList<Byte> list = new ArrayList<>();
        for (int b : bytes) {
            list.add((byte) b);
        }
        return list;
    }
}
