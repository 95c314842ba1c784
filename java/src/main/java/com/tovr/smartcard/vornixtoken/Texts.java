// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/**
 * Texts as bytes. They are UTF-8. The older natives write the virtual machine's modified encoding, in which U+0000 has
 * two bytes and each half of a character beyond U+FFFF has three; such texts are read too.
 */
final class Texts {
    private Texts() {
    }

    /**
     * Encodes a text that the module takes with its length.
     *
     * @throws Refusal when it is no valid text
     */
    static byte[] encode(String text) throws Refusal {
        for (int i = 0; i < text.length(); i++) {
            if (!Character.isSurrogate(text.charAt(i))) {
                continue;
            }
            if (!isPair(text, i)) {
                throw refuse("half of a surrogate pair");
            }
            i++;
        }
        return text.getBytes(StandardCharsets.UTF_8);
    }

    /**
     * Encodes a text that the module takes up to its first NUL.
     *
     * @throws Refusal when it is no valid text or has a NUL
     */
    static byte[] encodeWithoutNul(String text) throws Refusal {
        if (text.indexOf('\0') >= 0) {
            throw refuse("the character U+0000");
        }
        return encode(text);
    }

    /** Encodes each half of a surrogate pair by itself, as the older natives do; U+0000 stays one byte. */
    static byte[] encodeHalves(String text) {
        byte[] bytes = new byte[3 * text.length()];
        int length = 0;
        for (char c : text.toCharArray()) {
            if (c < 0x80) {
                bytes[length++] = (byte) c;
            } else if (c < 0x800) {
                bytes[length++] = (byte) (0xc0 | c >> 6);
                bytes[length++] = (byte) (0x80 | c & 0x3f);
            } else {
                bytes[length++] = (byte) (0xe0 | c >> 12);
                bytes[length++] = (byte) (0x80 | c >> 6 & 0x3f);
                bytes[length++] = (byte) (0x80 | c & 0x3f);
            }
        }
        return Arrays.copyOf(bytes, length);
    }

    /** Tells whether the two encodings of a text differ. */
    static boolean hasPairs(String text) {
        return text.codePointCount(0, text.length()) != text.length();
    }

    /** Decodes a text in either encoding. What is no text at all becomes U+FFFD. */
    static String decode(byte[] bytes, int begin, int length) {
        String text = new String(bytes, begin, length, StandardCharsets.UTF_8);
        return text.indexOf('\uFFFD') < 0 ? text : decodeHalves(bytes, begin, length, text);
    }

    private static String decodeHalves(byte[] bytes, int begin, int length, String otherwise) {
        StringBuilder text = new StringBuilder(length);
        int end = begin + length;
        for (int i = begin; i < end;) {
            int first = bytes[i] & 0xff;
            int size = first < 0x80 ? 1 : first >> 5 == 0x6 ? 2 : first >> 4 == 0xe ? 3 : 0;
            if (size == 0 || i + size > end) {
                return otherwise;
            }
            int c = size == 1 ? first : first & 0xff >> size + 1;
            for (int j = 1; j < size; j++) {
                if ((bytes[i + j] & 0xc0) != 0x80) {
                    return otherwise;
                }
                c = c << 6 | bytes[i + j] & 0x3f;
            }
            text.append((char) c);
            i += size;
        }
        return text.toString();
    }

    private static boolean isPair(String text, int i) {
        return i + 1 < text.length() && Character.isSurrogatePair(text.charAt(i), text.charAt(i + 1));
    }

    private static Refusal refuse(String what) {
        return new Refusal(Reason.BAD_DATA, ReturnCodes.CKR_ARGUMENTS_BAD, "a text has " + what + ", nothing was sent");
    }
}
