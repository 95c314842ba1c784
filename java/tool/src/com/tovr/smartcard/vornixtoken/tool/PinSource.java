// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;

import java.io.Console;
import java.io.FileDescriptor;
import java.io.FileInputStream;
import java.io.IOException;
import java.nio.file.Path;
import java.util.Arrays;

/** Gets a PIN from a file, from the environment or from the person at the terminal, in this order. */
final class PinSource {
    private static final int LONGEST_LINE = 1024;

    private PinSource() {
    }

    /** A PIN that counts already. */
    static Pin existing(String name, String option, Path file, String variable) throws IOException {
        Pin pin = withoutAsking(file, variable);
        return pin != null ? pin : Pin.of(ask(name, option, variable));
    }

    /** A PIN that shall count: typed twice. */
    static Pin chosen(String name, String option, Path file, String variable) throws IOException {
        Pin pin = withoutAsking(file, variable);
        if (pin != null) {
            return pin;
        }
        char[] once = ask(name, option, variable);
        char[] again = {};
        try {
            again = ask(name + " again", option, variable);
            if (!Arrays.equals(once, again)) {
                throw new IOException("the two inputs differ");
            }
            return Pin.of(once);
        } finally {
            Arrays.fill(once, '\0');
            Arrays.fill(again, '\0');
        }
    }

    private static Pin withoutAsking(Path file, String variable) throws IOException {
        if (file != null) {
            return fromFile(file);
        }
        String value = System.getenv(variable);
        return value == null ? null : Pin.of(decoded(value.toCharArray(), variable));
    }

    private static Pin fromFile(Path file) throws IOException {
        if (ToolCommand.isStandard(file)) {
            return firstLine(new FileInputStream(FileDescriptor.in), file);
        }
        try (FileInputStream in = new FileInputStream(file.toFile())) {
            return firstLine(in, file);
        }
    }

    /**
     * Reads byte by byte, without a buffer between: larger pieces would pass through memory that Java does not wipe, and
     * what stands behind the line on standard input is for the next who reads there.
     */
    private static Pin firstLine(FileInputStream in, Path file) throws IOException {
        byte[] line = new byte[LONGEST_LINE];
        try {
            int length = 0;
            for (int read = in.read(); read >= 0 && read != '\n'; read = in.read()) {
                if (length == line.length) {
                    throw new IOException(file + " holds no PIN: its first line is longer than " + LONGEST_LINE
                            + " bytes");
                }
                line[length++] = (byte) read;
            }
            return Pin.of(Arrays.copyOf(line, withoutReturn(line, length)));
        } finally {
            Arrays.fill(line, (byte) 0);
        }
    }

    private static int withoutReturn(byte[] line, int length) {
        int kept = 0;
        while (kept < length && line[kept] != '\r') {
            kept++;
        }
        return kept;
    }

    /** Java's console needs standard input and output to be a terminal, both of them. */
    private static char[] ask(String name, String option, String variable) throws IOException {
        Console console = Terminal.console();
        char[] typed = console == null ? null : console.readPassword("%s: ", name);
        if (typed == null) {
            throw new IOException("no " + name + ": standard input and output are not both a terminal to ask at; use "
                    + option + " or set " + variable);
        }
        return decoded(typed, "the " + name);
    }

    private static char[] decoded(char[] characters, String name) throws IOException {
        for (char character : characters) {
            if (Decoding.failed(character)) {
                Arrays.fill(characters, '\0');
                throw new IOException(name + " " + Decoding.FAILED);
            }
        }
        return characters;
    }
}
