// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.List;
import java.util.Map;
import java.util.Objects;
import java.util.concurrent.Semaphore;
import java.util.function.Supplier;

/** How a call gets to a module and a token: load, initialise, wait, choose the slot, open, log in. */
final class Access {
    private final String path;
    private final ReaderChoice choice;
    private final Attempt.Manner manner;

    Access(String path, ReaderChoice choice, Attempt.Manner manner) {
        this.path = path;
        this.choice = choice;
        this.manner = manner;
    }

    /** What is done while the attempt runs. */
    private interface Undertaking<T> {
        T in(Attempt attempt, Progress progress) throws NativeFailure;
    }

    /** What is done in a turn. */
    private interface InTurn<T> {
        T in(Turn turn) throws NativeFailure;
    }

    /** What is done with a slot in a turn on it. */
    private interface OnSlot<T> {
        T on(Turn turn, long slot, Progress progress) throws NativeFailure;
    }

    /** A call without a session that names a slot. */
    interface SlotCall<T> {
        T on(NativeCall natives, long module, long slot) throws NativeFailure;
    }

    /** A call that needs the module alone. */
    interface ModuleCall {
        void on(NativeCall natives, long module) throws NativeFailure;
    }

    /** How far an attempt got. After a login it does not begin again. */
    private static final class Progress {
        private boolean loggedIn;
    }

    /** Opens a session, does one job and closes the session. */
    <T> T once(Pin pin, String pinName, long userType, Job<T> job) throws Pkcs11Exception {
        Objects.requireNonNull(pin, pinName);
        return attempt(job.action, (attempt, progress) -> {
            Job.Work<T> work = job.prepare();
            return onSlot(attempt, progress, job.vendorFunction, (turn, slot, same) -> {
                NativeSession session = pin.lend(code -> NativeSession.open(turn, slot, userType, code));
                same.loggedIn = true;
                try {
                    return session.run(turn, work);
                } finally {
                    session.close(turn);
                }
            });
        });
    }

    /** Opens a session for the user. */
    TokenSession open(Pin pin) throws Pkcs11Exception {
        Objects.requireNonNull(pin, "pin");
        return attempt(() -> "opening a session", (attempt, progress) -> onSlot(attempt, progress, null,
                (turn, slot, same) -> new OpenSession(this, turn.module, slot,
                        pin.lend(code -> NativeSession.open(turn, slot, NativeSession.USER, code)))));
    }

    /** Makes a call on the token without a session. */
    <T> T call(Supplier<String> action, SlotCall<T> call) throws Pkcs11Exception {
        return attempt(action, (attempt, progress) -> onSlot(attempt, progress, null, (turn, slot, same) ->
                turn.call(natives -> call.on(natives, turn.module.handle, slot))));
    }

    /** Makes a call on the module without a token. */
    void call(Supplier<String> action, String vendorFunction, ModuleCall call) throws Pkcs11Exception {
        attempt(action, (attempt, progress) -> inTurn(attempt, turn -> {
            turn.require(vendorFunction);
            turn.command(natives -> call.on(natives, turn.module.handle));
            return null;
        }));
    }

    List<Reader> readers() throws Pkcs11Exception {
        return attempt(() -> "listing readers", (attempt, progress) ->
                inTurn(attempt, turn -> ReaderChoice.list(turn, true)));
    }

    /** Finds the reader that is chosen. */
    Reader reader() throws Pkcs11Exception {
        return attempt(() -> "looking for the reader", (attempt, progress) ->
                inTurn(attempt, turn -> choice.reader(turn, true)));
    }

    boolean hasVendorFunctions() throws Pkcs11Exception {
        return attempt(() -> "looking into the module", (attempt, progress) ->
                inTurn(attempt, Turn::hasVendorFunctions));
    }

    void unload() throws Pkcs11Exception {
        attempt(() -> "unloading", (attempt, progress) -> {
            LoadedModule.unload(path, attempt);
            return null;
        });
    }

    /** Makes an attempt to do something. */
    Attempt begin() {
        return new Attempt(manner);
    }

    /** The exception for a failure, which tells what was tried where. */
    Pkcs11Exception refuse(Attempt attempt, NativeFailure failure, Supplier<String> action) {
        return attempt.refuse(failure, action.get() + ", " + this);
    }

    /** Powers a card down while no call of this library works with its reader. */
    static void resetReader(String name) throws Pkcs11Exception {
        Attempt attempt = new Attempt(Attempt.Manner.DEFAULT);
        try {
            byte[] reader = Texts.encodeWithoutNul(name);
            byte[] trimmed = ReaderChoice.trimmed(name);
            behind(SharedModule.locksOf(trimmed), attempt, natives -> {
                natives.resetReader(reader);
                SharedModule.noteReset(trimmed);
            });
        } catch (NativeFailure failure) {
            throw attempt.refuse(failure, "resetting reader '" + name + "'");
        }
    }

    /** Makes a native call while it holds all locks. */
    private static void behind(List<Map.Entry<Semaphore, Integer>> locks, Attempt attempt, Attempt.Command command)
            throws NativeFailure {
        if (locks.isEmpty()) {
            attempt.command(command);
            return;
        }
        Map.Entry<Semaphore, Integer> first = locks.get(0);
        attempt.acquire(first.getKey(), first.getValue());
        try {
            behind(locks.subList(1, locks.size()), attempt, command);
        } finally {
            first.getKey().release(first.getValue());
        }
    }

    private <T> T onSlot(Attempt attempt, Progress progress, String vendorFunction, OnSlot<T> work)
            throws NativeFailure {
        return inTurn(attempt, turn -> {
            if (vendorFunction != null) {
                turn.require(vendorFunction);
            }
            long slot = choice.slot(turn);
            turn.take(new SlotTurns(turn.module.shared.lock(slot)));
            return work.on(turn, slot, progress);
        });
    }

    private <T> T inTurn(Attempt attempt, InTurn<T> work) throws NativeFailure {
        try (Turn turn = Turn.in(path, attempt)) {
            return work.in(turn);
        }
    }

    /** Begins once more where somebody had finalised the module and nothing was done yet. */
    private <T> T attempt(Supplier<String> action, Undertaking<T> undertaking) throws Pkcs11Exception {
        Attempt attempt = begin();
        Progress progress = new Progress();
        try {
            try {
                return undertaking.in(attempt, progress);
            } catch (NativeFailure failure) {
                if (progress.loggedIn || !isTooEarlyForAnyPin(failure)) {
                    throw failure;
                }
                return undertaking.in(attempt, progress);
            }
        } catch (NativeFailure failure) {
            throw refuse(attempt, failure, action);
        } finally {
            attempt.tell();
        }
    }

    /** A C_InitToken that did not end well has perhaps looked at its PUK, which is not sent again. */
    private static boolean isTooEarlyForAnyPin(NativeFailure failure) {
        return failure.code == ReturnCodes.CKR_CRYPTOKI_NOT_INITIALIZED && !failure.step.equals("C_InitToken");
    }

    /** Tells whether the other gets to the same token, however long it may wait. */
    @Override
    public boolean equals(Object other) {
        return other instanceof Access && path.equals(((Access) other).path) && choice.equals(((Access) other).choice);
    }

    @Override
    public int hashCode() {
        return Objects.hash(path, choice);
    }

    @Override
    public String toString() {
        return choice == null ? "module " + path : choice + " of module " + path;
    }
}
