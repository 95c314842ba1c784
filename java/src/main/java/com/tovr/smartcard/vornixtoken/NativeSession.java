// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** A session of the module, logged in. Used only in a turn on its slot. */
final class NativeSession {
    static final long SECURITY_OFFICER = 0;
    static final long USER = 1;

    final int generation;
    private final long handle;
    /** The module has closed the session, or has forgotten it. Its number may be another session's by now. */
    private boolean gone;

    private NativeSession(Turn turn, long handle) {
        this.handle = handle;
        generation = turn.generation();
        turn.module.shared.sessions.incrementAndGet();
    }

    /** Opens a session and logs in, with one try. */
    static NativeSession open(Turn turn, long slot, long userType, byte[] pin) throws NativeFailure {
        long module = turn.module.handle;
        NativeSession session = new NativeSession(turn, turn.call(natives -> natives.openSession(module, slot)));
        boolean loggedIn = false;
        try {
            // False: there is a login already. The standard's login is the process's, and the PIN was not looked at.
            session.use(turn, natives -> natives.login(module, session.handle, userType, pin));
            loggedIn = true;
            return session;
        } finally {
            if (!loggedIn) {
                session.close(turn);
            }
        }
    }

    /** Does a job whose arguments are ready. */
    <T> T run(Turn turn, Job.Work<T> work) throws NativeFailure {
        return use(turn, natives -> work.on(natives, turn.module.handle, handle));
    }

    private <T> T use(Turn turn, Attempt.Call<T> call) throws NativeFailure {
        try {
            return turn.call(call);
        } catch (NativeFailure failure) {
            if (isGone(failure.code)) {
                forget(turn);
            }
            throw failure;
        }
    }

    /** Closes the session unless it is gone. */
    void close(Turn turn) {
        if (gone) {
            return;
        }
        forget(turn);
        try {
            turn.command(natives -> natives.closeSession(turn.module.handle, handle));
        } catch (NativeFailure dropped) {
            // Nothing can be done about it, and what the job answered is more important.
        }
    }

    boolean isGone() {
        return gone;
    }

    private void forget(Turn turn) {
        gone = true;
        turn.module.shared.sessions.decrementAndGet();
    }

    private static boolean isGone(long code) {
        return code == ReturnCodes.CKR_CRYPTOKI_NOT_INITIALIZED || code == ReturnCodes.CKR_SESSION_HANDLE_INVALID
                || code == ReturnCodes.CKR_SESSION_CLOSED || code == ReturnCodes.CKR_DEVICE_REMOVED
                || code == ReturnCodes.CKR_TOKEN_NOT_PRESENT;
    }
}
