// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import picocli.CommandLine.TypeConversionException;

/** A text of a request with its name, written NAME=VALUE. */
final class NamedText {
    final String name;
    final String value;

    NamedText(String text) {
        Decoding.checked(text);
        int sign = text.indexOf('=');
        if (sign < 0) {
            throw new TypeConversionException("'" + text + "' lacks an =");
        }
        name = text.substring(0, sign);
        value = text.substring(sign + 1);
    }
}
