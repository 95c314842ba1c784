// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Objects;
import java.util.function.Function;
import java.util.function.Predicate;
import java.util.stream.Collectors;

/** Which of a module's slots is meant: by the reader's name, the token's serial number, its label, or several of them. */
final class ReaderChoice {
    /** A slot has no room for more of a name. */
    private static final int ROOM = 64;

    private final String name;
    private final String serialNumber;
    private final String label;

    /** A null does not matter. */
    ReaderChoice(String name, String serialNumber, String label) {
        this.name = name;
        this.serialNumber = serialNumber;
        this.label = label;
    }

    /** Tells whether this may be any reader. */
    boolean isEmpty() {
        return serialNumber == null && label == null && (name == null || trimmed(name).length == 0);
    }

    /** Lists a module's slots. */
    static List<Reader> list(Turn turn, boolean withTokens) throws NativeFailure {
        List<Reader> readers = new ArrayList<>();
        byte[] slots = turn.call(natives -> natives.slots(turn.module.handle, withTokens));
        for (Fields fields = new Fields(slots); fields.hasNext();) {
            readers.add(new Reader(fields));
        }
        return readers;
    }

    /** Finds the one slot that is meant. Tokens are asked only where that matters, because others may work on them. */
    long slot(Turn turn) throws NativeFailure {
        Reader reader = reader(turn, serialNumber != null || label != null);
        turn.module.shared.name(reader.getSlot(), reader.rawName());
        return reader.getSlot();
    }

    /** Finds the one reader that is meant. */
    Reader reader(Turn turn, boolean withTokens) throws NativeFailure {
        List<Reader> all = list(turn, withTokens);
        List<Reader> named = name == null ? all : named(all);
        if (named.isEmpty()) {
            throw new Refusal(Reason.NO_READER, ReturnCodes.CKR_SLOT_ID_INVALID, "no such reader. " + names(all));
        }
        List<Reader> meant = named.stream().filter(this::hasToken).collect(Collectors.toList());
        if (meant.isEmpty()) {
            throw new Refusal(Reason.NO_TOKEN, ReturnCodes.CKR_TOKEN_NOT_PRESENT, "no such token. " + names(all));
        }
        if (meant.size() > 1) {
            throw new Refusal(Reason.AMBIGUOUS_READER, ReturnCodes.CKR_SLOT_ID_INVALID,
                    "several readers are meant: " + list(meant) + ". Give a whole name, a serial number or a label");
        }
        return meant.get(0);
    }

    /** The name that fits best counts: whole before beginning, the reader's before the manufacturer's. */
    private List<Reader> named(List<Reader> all) {
        byte[] wanted = trimmed(name);
        List<Reader> found = matching(all, Reader::rawName, raw -> Arrays.equals(raw, wanted));
        if (found.isEmpty()) {
            found = matching(all, Reader::rawName, raw -> begins(raw, wanted));
        }
        if (found.isEmpty()) {
            found = matching(all, Reader::rawManufacturer, raw -> Arrays.equals(raw, wanted));
        }
        return found.isEmpty() ? matching(all, Reader::rawManufacturer, raw -> begins(raw, wanted)) : found;
    }

    private static List<Reader> matching(List<Reader> all, Function<Reader, byte[]> field, Predicate<byte[]> test) {
        return all.stream().filter(reader -> test.test(field.apply(reader))).collect(Collectors.toList());
    }

    private static boolean begins(byte[] raw, byte[] beginning) {
        return raw.length > beginning.length && Arrays.equals(Arrays.copyOf(raw, beginning.length), beginning);
    }

    private boolean hasToken(Reader reader) {
        return (serialNumber == null || reader.getToken().filter(t -> t.getSerialNumber().equals(serialNumber)).isPresent())
                && (label == null || reader.getToken().filter(t -> t.getLabel().equals(label)).isPresent());
    }

    /** A name as a slot has it: cut, and without trailing blanks. */
    static byte[] trimmed(String name) {
        byte[] bytes = name.getBytes(StandardCharsets.UTF_8);
        int length = Math.min(bytes.length, ROOM);
        while (length > 0 && bytes[length - 1] == ' ') {
            length--;
        }
        return Arrays.copyOf(bytes, length);
    }

    /** Says which readers there are. */
    static String names(List<Reader> readers) {
        return readers.isEmpty() ? "No reader is there, or none answers" : "There are: " + list(readers);
    }

    private static String list(List<Reader> readers) {
        return readers.stream().map(Reader::toString).collect(Collectors.joining(", "));
    }

    @Override
    public boolean equals(Object other) {
        if (!(other instanceof ReaderChoice)) {
            return false;
        }
        ReaderChoice choice = (ReaderChoice) other;
        return Objects.equals(name, choice.name) && Objects.equals(serialNumber, choice.serialNumber)
                && Objects.equals(label, choice.label);
    }

    @Override
    public int hashCode() {
        return Objects.hash(name, serialNumber, label);
    }

    @Override
    public String toString() {
        List<String> parts = new ArrayList<>();
        if (name != null) {
            parts.add("in reader '" + name + "'");
        }
        if (serialNumber != null) {
            parts.add("with serial number '" + serialNumber + "'");
        }
        if (label != null) {
            parts.add("with label '" + label + "'");
        }
        return "token " + String.join(" ", parts);
    }
}
