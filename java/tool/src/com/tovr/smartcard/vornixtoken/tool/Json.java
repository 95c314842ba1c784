// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.util.List;
import java.util.Map;
import java.util.StringJoiner;

/** Writes texts, booleans, numbers, lists and maps as JSON, RFC 8259, in ASCII. */
final class Json {
    private Json() {
    }

    static String text(Object value) {
        if (value instanceof Map) {
            StringJoiner members = new StringJoiner(",", "{", "}");
            ((Map<?, ?>) value).forEach((name, member) -> members.add(quoted(name.toString()) + ":" + text(member)));
            return members.toString();
        }
        if (value instanceof List) {
            StringJoiner elements = new StringJoiner(",", "[", "]");
            ((List<?>) value).forEach(element -> elements.add(text(element)));
            return elements.toString();
        }
        if (value == null || value instanceof Boolean || value instanceof Number) {
            return String.valueOf(value);
        }
        return quoted(value.toString());
    }

    private static String quoted(String text) {
        StringBuilder quoted = new StringBuilder("\"");
        for (char c : text.toCharArray()) {
            if (c == '"' || c == '\\') {
                quoted.append('\\').append(c);
            } else if (c >= ' ' && c <= '~') {
                quoted.append(c);
            } else {
                quoted.append(Printable.code(c));
            }
        }
        return quoted.append('"').toString();
    }
}
