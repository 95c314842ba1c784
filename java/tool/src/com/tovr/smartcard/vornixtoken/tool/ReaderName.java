// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import picocli.CommandLine.TypeConversionException;

/** A reader's name, which is not empty. */
final class ReaderName {
    private final String text;

    ReaderName(String text) {
        if (text.trim().isEmpty()) {
            throw new TypeConversionException("an empty name would be any reader");
        }
        this.text = Decoding.checked(text);
    }

    @Override
    public String toString() {
        return text;
    }
}
