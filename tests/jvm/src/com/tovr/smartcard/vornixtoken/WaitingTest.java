// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

import java.time.Duration;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.FutureTask;
import java.util.concurrent.Semaphore;

/** What happens while somebody else has the slot. */
class WaitingTest extends ScriptedToken {
    private static final long SLOT = 7;
    private static final int TAKES_ONE_THREAD = 1;

    private Pin pin;
    private SharedModule shared;
    private Semaphore lock;

    @BeforeEach
    void takeTheSlot() throws Exception {
        pin = Pin.of(PIN.clone());
        token(Duration.ofMinutes(1)).listObjects(pin);
        shared = LoadedModule.of(module, new Attempt(Attempt.Manner.DEFAULT)).shared;
        lock = shared.lock(SLOT);
        lock.acquire();
    }

    @AfterEach
    void giveItBack() {
        assertEquals(0, lock.availablePermits());
        lock.release();
        assertEquals(SharedModule.ALL, shared.gate.availablePermits());
        assertEquals(0, shared.sessions.get());
    }

    @Test
    void aWaitHasAnEnd() {
        List<String> calls = Transcript.during(() -> assertWaitedTooLong(
                () -> token(Duration.ofMillis(20)).listObjects(pin)));

        assertSearchesSlotsOnly(calls);
        assertWaitedTooLong(() -> token(Duration.ZERO).readInfo());
    }

    @Test
    void aSessionsJobAndItsEndWaitNoLonger() throws Exception {
        lock.release();
        TokenSession session = token(Duration.ofMillis(20)).open(pin);
        lock.acquire();

        assertWaitedTooLong(session::listObjects);
        assertTrue(session.isOpen());
        assertWaitedTooLong(() -> {
            session.close();
            return null;
        });
        assertEquals(1, shared.sessions.get());

        lock.release();
        session.close();
        lock.acquire();
    }

    @Test
    void aSessionThatIsLostWhileItsJobWaitsCallsNothing() throws Exception {
        lock.release();
        TokenSession session = token(Duration.ofMinutes(1)).open(pin);
        lock.acquire();
        FutureTask<List<TokenObject>> job = new FutureTask<>(session::listObjects);

        List<String> calls = Transcript.during(() -> {
            startWaiting(job);
            shared.lose(shared.generation.get());
            lock.release();
            Throwable failure = assertThrows(ExecutionException.class, job::get).getCause();
            assertEquals(Reason.REMOVED, ((Pkcs11Exception) failure).getReason());
        });

        assertTrue(calls.isEmpty(), calls::toString);
        shared.state.set(SharedModule.TAKES_SEVERAL_THREADS);
        session.close();
        lock.acquire();
    }

    @Test
    void anInterruptIsKeptForLater() {
        Thread.currentThread().interrupt();

        assertWaitedTooLong(() -> token(Duration.ofMillis(20)).listObjects(pin));

        assertTrue(Thread.interrupted());
    }

    @Test
    void onceAPinIsClosedACallThatStillWaitsSendsNothing() {
        FutureTask<Throwable> failure = new FutureTask<>(() -> {
            try {
                token(Duration.ofMinutes(1)).clean(pin);
                return null;
            } catch (RuntimeException thrown) {
                return thrown;
            }
        });

        List<String> calls = Transcript.during(() -> {
            startWaiting(failure);
            pin.close();
            lock.release();
            try {
                assertTrue(failure.get() instanceof IllegalStateException);
                lock.acquire();
            } catch (Exception impossible) {
                throw new AssertionError(impossible);
            }
        });

        assertSearchesSlotsOnly(calls);
    }

    @Test
    void aResetWaitsForTheReader() throws Exception {
        FutureTask<Void> reset = new FutureTask<>(() -> {
            Token.resetTerminal(READER);
            return null;
        });

        startWaiting(reset);
        lock.release();
        assertTrue(assertThrows(Exception.class, reset::get).getMessage().contains("SCARD_"));
        lock.acquire();
    }

    @Test
    void aResetEndsTheSessionsOnItsReaderAlone() throws Exception {
        lock.release();
        TokenSession session = token(Duration.ofMinutes(1)).open(pin);
        SharedModule.noteReset(ReaderChoice.trimmed("Another Reader"));
        session.listObjects();
        SharedModule.noteReset(ReaderChoice.trimmed(READER));

        List<String> calls = Transcript.during(() -> assertEquals(Reason.REMOVED,
                assertThrows(Pkcs11Exception.class, session::listObjects).getReason()));

        assertEquals(1, calls.size(), calls::toString);
        assertTrue(calls.get(0).startsWith("C_CloseSession("), calls::toString);
        assertFalse(session.isOpen());
        try (TokenSession next = token(Duration.ofMinutes(1)).open(pin)) {
            next.listObjects();
        }
        lock.acquire();
    }

    /** Who waits for himself waits until his patience ends. */
    @Test
    void aResetTakesAModuleForOneThreadOnceThoughTheReaderHasTwoSlots() {
        shared.name(SLOT + 1, ReaderChoice.trimmed(READER));
        shared.state.set(TAKES_ONE_THREAD);
        try {
            assertEquals(1, SharedModule.locksOf(ReaderChoice.trimmed(READER)).stream()
                    .filter(each -> each.getKey() == shared.gate).count());
        } finally {
            shared.state.set(SharedModule.TAKES_SEVERAL_THREADS);
        }
    }

    @Test
    void aModuleWithACallInsideIsNotUnloaded() throws Exception {
        shared.gate.acquire();

        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> Token.unload(module));

        assertEquals(Reason.IN_USE, failure.getReason());
        shared.gate.release();
    }

    /** Starts what will wait for the slot, and returns when it does. */
    private void startWaiting(FutureTask<?> task) {
        new Thread(task).start();
        while (!lock.hasQueuedThreads()) {
            assertFalse(task.isDone(), "it did not wait");
            Thread.yield();
        }
    }

    private Token token(Duration patience) {
        return Token.in(module).reader(READER).waitingAtMost(patience).build();
    }

    private static void assertWaitedTooLong(Callable<?> job) {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, job::call);
        assertEquals(Reason.WAITED_TOO_LONG, failure.getReason());
    }

    private static void assertSearchesSlotsOnly(List<String> calls) {
        assertTrue(calls.stream().allMatch(call -> call.matches("C_GetSlot(List|Info).*")), calls::toString);
    }
}
