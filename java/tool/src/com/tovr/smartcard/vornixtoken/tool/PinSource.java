package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;

import java.io.Console;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

/** Gets a PIN from a file, from the environment or from the person at the terminal, in this order. */
final class PinSource {
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
            return Pin.of(firstLine(Files.readAllBytes(file)));
        }
        String value = System.getenv(variable);
        return value == null ? null : Pin.of(decoded(value.toCharArray(), variable));
    }

    private static byte[] firstLine(byte[] content) {
        int length = 0;
        while (length < content.length && content[length] != '\n' && content[length] != '\r') {
            length++;
        }
        byte[] line = Arrays.copyOf(content, length);
        Arrays.fill(content, (byte) 0);
        return line;
    }

    /** Java's console needs standard input and output to be a terminal, both of them. */
    private static char[] ask(String name, String option, String variable) throws IOException {
        Console console = System.console();
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
