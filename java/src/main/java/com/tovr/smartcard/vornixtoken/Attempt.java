// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.time.Duration;
import java.util.Arrays;
import java.util.concurrent.Semaphore;
import java.util.concurrent.TimeUnit;
import java.util.function.Consumer;

/** One call of the API while it runs: how long it may wait, what the natives had to say. */
final class Attempt {
    /** More nanoseconds do not fit into a number. */
    private static final Duration FOR_EVER = Duration.ofNanos(Long.MAX_VALUE);

    private final Manner manner;
    private String lines = "";
    private long deadline;

    Attempt(Manner manner) {
        this.manner = manner;
    }

    /** What every call of a token or a session has in common. */
    static final class Manner {
        /** Longer than any card needs for a key pair. */
        static final Manner DEFAULT = new Manner(Duration.ofMinutes(2), line -> { });

        final Duration patience;
        final Consumer<String> listener;

        Manner(Duration patience, Consumer<String> listener) {
            this.patience = patience;
            this.listener = listener;
        }
    }

    /** A native call. */
    interface Call<T> {
        T on(NativeCall natives) throws NativeFailure;
    }

    /** A native call without a result. */
    interface Command {
        void on(NativeCall natives) throws NativeFailure;
    }

    /** Makes a native call and keeps what it has to say. */
    <T> T call(Call<T> call) throws NativeFailure {
        NativeCall natives = new NativeCall();
        try {
            return call.on(natives);
        } finally {
            lines = lines.concat(natives.diagnostics());
        }
    }

    /** Makes a native call without a result and keeps what it has to say. */
    void command(Command command) throws NativeFailure {
        call(natives -> {
            command.on(natives);
            return null;
        });
    }

    /**
     * Waits for permits until the patience ends, which began with the first wait, and tells whether it had to wait. An
     * interrupt is kept for later, because it must not keep a session from being closed.
     */
    boolean acquire(Semaphore semaphore, int permits) throws Refusal {
        boolean interrupted = false;
        try {
            while (true) {
                try {
                    if (semaphore.tryAcquire(permits, 0, TimeUnit.NANOSECONDS)) {
                        return false;
                    }
                    if (semaphore.tryAcquire(permits, remaining(), TimeUnit.NANOSECONDS)) {
                        return true;
                    }
                    throw new Refusal(Reason.WAITED_TOO_LONG, ReturnCodes.CKR_FUNCTION_CANCELED,
                            "others kept it busy for " + manner.patience);
                } catch (InterruptedException forLater) {
                    interrupted = true;
                }
            }
        } finally {
            if (interrupted) {
                Thread.currentThread().interrupt();
            }
        }
    }

    private long remaining() {
        long now = System.nanoTime();
        if (deadline == 0) {
            deadline = now + (manner.patience.compareTo(FOR_EVER) < 0 ? manner.patience : FOR_EVER).toNanos();
        }
        return deadline - now;
    }

    /** The exception for the failure of what was tried. */
    Pkcs11Exception refuse(NativeFailure failure, String action) {
        return new Pkcs11Exception(failure, action, lines);
    }

    /** Hands the lines to whoever listens. Holds no lock. */
    void tell() {
        if (!lines.isEmpty()) {
            Arrays.asList(lines.split("\n")).forEach(manner.listener);
        }
    }
}
