// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.time.Duration;
import java.util.Objects;
import java.util.function.Consumer;

/**
 * Names a token in more ways than by its reader, and says how calls behave:
 *
 * <pre>
 * token = Token.in(module).reader(reader).waitingAtMost(patience).build();
 * </pre>
 */
public final class TokenBuilder {
    private final String modulePath;
    private String reader;
    private String serialNumber;
    private String label;
    private Attempt.Manner manner = Attempt.Manner.DEFAULT;

    TokenBuilder(String modulePath) {
        this.modulePath = Objects.requireNonNull(modulePath, "modulePath");
    }

    /**
     * Names the reader as {@link Token#Token} does.
     *
     * @param name the name
     * @return this builder
     */
    public TokenBuilder reader(String name) {
        reader = Objects.requireNonNull(name, "name");
        return this;
    }

    /**
     * Names the token by its serial number. The tokens of all readers are asked for it.
     *
     * @param number the whole number
     * @return this builder
     */
    public TokenBuilder serialNumber(String number) {
        serialNumber = Objects.requireNonNull(number, "number");
        return this;
    }

    /**
     * Names the token by its label. The tokens of all readers are asked for it.
     *
     * @param text the whole label
     * @return this builder
     */
    public TokenBuilder label(String text) {
        label = Objects.requireNonNull(text, "text");
        return this;
    }

    /**
     * Limits how long a job waits for others; two minutes, if this is not called. Others are other threads of this
     * virtual machine that use this library. A call that is inside the module cannot be interrupted, and an interrupt
     * does not end the wait; it is kept.
     *
     * @param patience the time; zero: not at all
     * @return this builder
     */
    public TokenBuilder waitingAtMost(Duration patience) {
        manner = new Attempt.Manner(Objects.requireNonNull(patience, "patience"), manner.listener);
        return this;
    }

    /**
     * Names a listener for what the library has to say about its calls, line by line, also about those that succeed. It
     * is called by the thread that called, when the job is done, and must not throw.
     *
     * @param listener the listener
     * @return this builder
     */
    public TokenBuilder diagnostics(Consumer<String> listener) {
        manner = new Attempt.Manner(manner.patience, Objects.requireNonNull(listener, "listener"));
        return this;
    }

    /**
     * Ends the naming. Loads this library, but not yet the module.
     *
     * @return the token
     * @throws IllegalArgumentException when nothing names a token; the message lists the readers
     * @throws UnsatisfiedLinkError     when this library cannot be loaded, see {@link NativeLibrary}
     */
    public Token build() {
        NativeLibrary.loadSessions();
        ReaderChoice choice = new ReaderChoice(reader, serialNumber, label);
        if (choice.isEmpty()) {
            throw new IllegalArgumentException("terminalName is empty. " + readers());
        }
        return new Token(new Access(modulePath, choice, manner));
    }

    private String readers() {
        try {
            return ReaderChoice.names(new Access(modulePath, null, manner).readers());
        } catch (Pkcs11Exception failure) {
            return "The readers cannot be listed: " + failure.getMessage();
        }
    }
}
