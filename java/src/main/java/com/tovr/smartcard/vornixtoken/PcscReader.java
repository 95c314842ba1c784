// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Objects;

/**
 * A reader as the PC/SC service shows it, without any module. Waits for readers and cards that come and go:
 *
 * <pre>
 * List&lt;PcscReader&gt; readers = PcscReader.list();
 * while (readers.stream().anyMatch(each -&gt; each.getName().startsWith(reader) &amp;&amp; each.isCardPresent()) != present) {
 *     readers = PcscReader.awaitChange(readers, Duration.ofMinutes(1));
 * }
 * </pre>
 */
public final class PcscReader {
    private static final int CARD_PRESENT = 0x20;
    private static final int CARD_IN_USE = 0x80 | 0x100;
    private static final int CARD_MUTE = 0x200;
    /** How long a call stays in the service before it looks for an interrupt. */
    private static final long SLICE = 500;

    private final String name;
    /** The lower 16 bits are flags; the others count the service's events. */
    private final long state;
    private final byte[] answerToReset;

    PcscReader(String name, long state, byte[] answerToReset) {
        this.name = name;
        this.state = state;
        this.answerToReset = answerToReset;
    }

    /**
     * Lists the readers.
     *
     * @return the readers in the service's order; an empty list when there are none
     * @throws Pkcs11Exception      when the service does not answer
     * @throws UnsatisfiedLinkError when this library cannot be loaded
     */
    public static List<PcscReader> list() throws Pkcs11Exception {
        return ask(Collections.emptyList(), 0);
    }

    /**
     * Waits until a reader or a card comes or goes, or another program begins or ends to use a card.
     *
     * @param known   the readers as an earlier call returned them; if that is not true any longer, there is no wait
     * @param timeout how long to wait
     * @return the readers as they are now; the same as before when the time has passed
     * @throws Pkcs11Exception      when the service does not answer
     * @throws InterruptedException when the thread is interrupted; that is noticed within half a second
     * @throws UnsatisfiedLinkError when this library cannot be loaded
     */
    public static List<PcscReader> awaitChange(List<PcscReader> known, Duration timeout)
            throws Pkcs11Exception, InterruptedException {
        List<PcscReader> before = new ArrayList<>(known);
        long end = System.nanoTime() + timeout.toNanos();
        while (true) {
            if (Thread.interrupted()) {
                throw new InterruptedException("while waiting for a reader");
            }
            long rest = Math.max(0, (end - System.nanoTime()) / 1_000_000);
            List<PcscReader> now = ask(before, Math.min(rest, SLICE));
            if (rest == 0 || !now.equals(before)) {
                return now;
            }
        }
    }

    private static List<PcscReader> ask(List<PcscReader> known, long milliseconds) throws Pkcs11Exception {
        NativeLibrary.loadSessions();
        byte[][] names = known.stream().map(each -> each.name.getBytes(StandardCharsets.UTF_8)).toArray(byte[][]::new);
        long[] states = known.stream().mapToLong(each -> each.state).toArray();
        Attempt attempt = new Attempt(Attempt.Manner.DEFAULT);
        try {
            Fields fields = new Fields(
                    attempt.call(natives -> natives.awaitReaderChange(names, states, milliseconds)));
            List<PcscReader> readers = new ArrayList<>();
            while (fields.hasNext()) {
                readers.add(new PcscReader(fields.text(), fields.number(), fields.bytes()));
            }
            return Collections.unmodifiableList(readers);
        } catch (NativeFailure failure) {
            throw attempt.refuse(failure, "watching readers");
        }
    }

    /**
     * Returns the reader's name, which {@link Token#resetTerminal} takes. A module commonly has a slot of this name.
     *
     * @return the name
     */
    public String getName() {
        return name;
    }

    /**
     * Tells whether a card is in the reader.
     *
     * @return whether the service says so
     */
    public boolean isCardPresent() {
        return (state & CARD_PRESENT) != 0;
    }

    /**
     * Tells whether a program uses the card.
     *
     * @return whether the service says so
     */
    public boolean isCardInUse() {
        return (state & CARD_IN_USE) != 0;
    }

    /**
     * Tells whether the card does not answer, for instance because it lies in the reader upside down.
     *
     * @return whether the service says so
     */
    public boolean isCardMute() {
        return (state & CARD_MUTE) != 0;
    }

    /**
     * Returns the card's answer to reset, which tells its kind.
     *
     * @return the bytes, none without a card
     */
    public byte[] getAnswerToReset() {
        return answerToReset.clone();
    }

    /** Tells whether the other is the same reader, and nothing has happened to it in between. */
    @Override
    public boolean equals(Object other) {
        if (!(other instanceof PcscReader)) {
            return false;
        }
        PcscReader reader = (PcscReader) other;
        return name.equals(reader.name) && state == reader.state && Arrays.equals(answerToReset, reader.answerToReset);
    }

    @Override
    public int hashCode() {
        return Objects.hash(name, state);
    }

    /** Returns name and state, for people to read. */
    @Override
    public String toString() {
        return "'" + name + "'" + (isCardPresent() ? " with a card" : "") + (isCardMute() ? " that does not answer" : "")
                + (isCardInUse() ? " in use" : "");
    }
}
