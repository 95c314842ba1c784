// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

/**
 * Texts of others on a line of text. Whatever moves the cursor, ends the line, turns the direction of writing or shows
 * nothing is written as its code, and a backslash as two, so that no label looks like another or like a line of ours.
 */
final class Printable {
    private Printable() {
    }

    static String text(String text) {
        StringBuilder printable = new StringBuilder();
        text.codePoints().forEach(character -> {
            if (character == '\\') {
                printable.append("\\\\");
            } else if (shows(character)) {
                printable.appendCodePoint(character);
            } else {
                for (char unit : Character.toChars(character)) {
                    printable.append(code(unit));
                }
            }
        });
        return printable.toString();
    }

    static String code(char unit) {
        return String.format("\\u%04x", (int) unit);
    }

    private static boolean shows(int character) {
        switch (Character.getType(character)) {
            case Character.CONTROL:
            case Character.FORMAT:
            case Character.LINE_SEPARATOR:
            case Character.PARAGRAPH_SEPARATOR:
            case Character.SURROGATE:
            case Character.UNASSIGNED:
                return false;
            default:
                return true;
        }
    }
}
