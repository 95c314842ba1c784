// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import picocli.CommandLine.TypeConversionException;

/** An object's ID, written in hexadecimal digits. */
final class Id {
    static final String NONE = "";

    private final byte[] bytes;

    Id(String text) {
        if (!text.matches("([0-9A-Fa-f]{2})*")) {
            throw new TypeConversionException("'" + text + "' is not an even number of hexadecimal digits");
        }
        bytes = new byte[text.length() / 2];
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] = (byte) Integer.parseInt(text.substring(2 * i, 2 * i + 2), 16);
        }
    }

    byte[] bytes() {
        return bytes;
    }

    static String text(byte[] id) {
        StringBuilder text = new StringBuilder();
        for (byte each : id) {
            text.append(String.format("%02x", each));
        }
        return id.length == 0 ? "(none)" : text.toString();
    }
}
