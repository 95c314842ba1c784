// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import picocli.CommandLine.TypeConversionException;

/**
 * Arguments, variables and what is typed reach Java through the locale's encoding. What does not fit it has become
 * U+FFFD by then, and must not go on to the token: as a PIN it would count as a wrong try.
 */
final class Decoding {
    static final String FAILED = "is no text in the locale's encoding; set LC_ALL, to C.UTF-8 for instance";

    private Decoding() {
    }

    static boolean failed(char character) {
        return character == '\uFFFD';
    }

    static String checked(String argument) {
        for (char character : argument.toCharArray()) {
            if (failed(character)) {
                throw new TypeConversionException("'" + argument + "' " + FAILED);
            }
        }
        return argument;
    }
}
