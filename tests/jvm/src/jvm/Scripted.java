package jvm;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;

/** The scripted module and what its token is known to hold, with the helpers that calls on it need. */
final class Scripted {
    static final String MODULE = System.getProperty("vornix.scripted.module");
    static final String READER = "Scripted Reader 0";
    static final byte[] PIN = ascii("12345678");
    static final byte[] SO_PIN = ascii("87654321");
    static final byte[] WRONG_PIN = ascii("00000000");
    static final byte[] NONE = {};

    private Scripted() {
    }

    static byte[] ascii(String text) {
        return text.getBytes(StandardCharsets.US_ASCII);
    }

    /** Runs of bytes as the natives deliver them, back as a text. */
    static String text(List<Byte> bytes) {
        return new String(array(bytes), StandardCharsets.ISO_8859_1);
    }

    static byte[] array(List<Byte> bytes) {
        byte[] array = new byte[bytes.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = bytes.get(i);
        }
        return array;
    }

    static ArrayList<Byte> list(int... bytes) {
        ArrayList<Byte> list = new ArrayList<>();
        for (int b : bytes) {
            list.add((byte) b);
        }
        return list;
    }
}
