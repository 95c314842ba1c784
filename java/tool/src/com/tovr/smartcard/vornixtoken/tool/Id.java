// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.ObjectId;

import picocli.CommandLine.TypeConversionException;

/** An object's ID as it is typed, which may be none. */
final class Id {
    static final String NONE = "";

    private final ObjectId id;

    Id(String text) {
        try {
            id = ObjectId.parse(text);
        } catch (IllegalArgumentException bad) {
            throw new TypeConversionException("'" + text + "' is not an even number of hexadecimal digits");
        }
    }

    byte[] bytes() {
        return id.getBytes();
    }

    static String text(byte[] id) {
        return id.length == 0 ? "(none)" : ObjectId.of(id).toString();
    }
}
