// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import picocli.CommandLine.TypeConversionException;

/** A word of 64 bits, written in decimal or, behind 0x, in hexadecimal digits. */
final class Word {
    private static final String HEXADECIMAL = "0x";

    final long value;

    Word(String text) {
        try {
            value = text.startsWith(HEXADECIMAL)
                    ? Long.parseUnsignedLong(text.substring(HEXADECIMAL.length()), 16)
                    : Long.parseUnsignedLong(text);
        } catch (NumberFormatException failure) {
            throw new TypeConversionException("'" + text + "' is no number of 64 bits");
        }
    }
}
