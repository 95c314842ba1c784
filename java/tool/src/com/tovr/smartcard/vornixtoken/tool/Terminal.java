// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.Console;

/** The terminal, where someone can be asked. */
final class Terminal {
    private Terminal() {
    }

    /** Returns the console, or null unless standard input and output are both a terminal. */
    static Console console() {
        Console console = System.console();
        return console != null && isTerminal(console) ? console : null;
    }

    /** From Java 22 on there may be a console without a terminal, and a method that tells; before, neither. */
    private static boolean isTerminal(Console console) {
        try {
            return (Boolean) Console.class.getMethod("isTerminal").invoke(console);
        } catch (ReflectiveOperationException earlier) {
            return true;
        }
    }
}
