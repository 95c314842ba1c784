// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** A thread's turn inside an initialised module, until it is closed. */
final class Turn implements AutoCloseable {
    final LoadedModule module;
    private final Attempt attempt;
    private final int permits;
    /** What the turn is about; null: no slot yet, or alone in the module. */
    private SlotTurns slot;

    private Turn(LoadedModule module, Attempt attempt, int permits) {
        this.module = module;
        this.attempt = attempt;
        this.permits = permits;
    }

    /** Waits for a turn in a file's module, which is loaded and initialised where it is not. */
    static Turn in(String path, Attempt attempt) throws NativeFailure {
        while (true) {
            LoadedModule module = LoadedModule.of(path, attempt);
            SharedModule shared = module.shared;
            int permits = shared.permits();
            attempt.acquire(shared.gate, permits);
            int kept = 0;
            try {
                if (!module.isUnloaded()) {
                    if (shared.state.get() == SharedModule.UNKNOWN && permits == SharedModule.ALL) {
                        module.initialize(attempt);
                    }
                    // Else the state has changed while this thread waited, and it waits once more.
                    int needed = shared.permits();
                    if (shared.state.get() != SharedModule.UNKNOWN && permits >= needed) {
                        Turn turn = new Turn(module, attempt, needed);
                        kept = needed;
                        return turn;
                    }
                }
            } finally {
                shared.gate.release(permits - kept);
            }
        }
    }

    /** Waits for a turn in a module, however it is by now, and on a slot. */
    static Turn again(LoadedModule module, SlotTurns slot, Attempt attempt) throws NativeFailure {
        Turn turn = new Turn(module, attempt, module.shared.permits());
        attempt.acquire(module.shared.gate, turn.permits);
        try {
            turn.take(slot);
            return turn;
        } catch (Throwable failure) {
            turn.close();
            throw failure;
        }
    }

    /** Waits for the slot. */
    void take(SlotTurns wanted) throws NativeFailure {
        if (permits == 1) {
            wanted.acquire(attempt);
            slot = wanted;
        }
    }

    /** Stays the same as long as anybody has a turn. */
    int generation() {
        return module.shared.generation.get();
    }

    /** Tells whether the module is still initialised as it was then. */
    boolean isOf(int earlierGeneration) {
        return generation() == earlierGeneration && module.shared.state.get() != SharedModule.UNKNOWN;
    }

    /** Makes a call inside the module. */
    <T> T call(Attempt.Call<T> call) throws NativeFailure {
        try {
            return attempt.call(call);
        } catch (NativeFailure failure) {
            if (failure.code == ReturnCodes.CKR_CRYPTOKI_NOT_INITIALIZED) {
                module.shared.lose(generation());
            }
            throw failure;
        }
    }

    /** Makes a call without a result inside the module. */
    void command(Attempt.Command command) throws NativeFailure {
        call(natives -> {
            command.on(natives);
            return null;
        });
    }

    boolean hasVendorFunctions() throws NativeFailure {
        return module.hasVendorFunctions(attempt);
    }

    /** Refuses where the module lacks a vendor's function. */
    void require(String vendorFunction) throws NativeFailure {
        module.require(vendorFunction, attempt);
    }

    @Override
    public void close() {
        if (slot != null) {
            slot.release();
        }
        module.shared.gate.release(permits);
    }
}
