// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import org.junit.jupiter.api.Test;

import java.time.Duration;
import java.util.concurrent.Semaphore;
import java.util.concurrent.TimeUnit;

/** Who goes first where several sessions want one slot. */
class SlotTurnsTest {
    private final WatchedLock lock = new WatchedLock();
    private long now = 5;
    private final SlotTurns turns = new SlotTurns(lock, () -> now);

    /** A slot's lock that tells how it was taken. */
    private static final class WatchedLock extends Semaphore {
        private static final long serialVersionUID = 1;

        private boolean othersWait;
        private String taken = "";

        WatchedLock() {
            super(1, true);
        }

        @Override
        public boolean tryAcquire() {
            return took("before the others", super.tryAcquire());
        }

        @Override
        public boolean tryAcquire(int permits, long time, TimeUnit unit) throws InterruptedException {
            if (time == 0) {
                return took("at once", !othersWait && super.tryAcquire(permits, time, unit));
            }
            return took("behind the others", super.tryAcquire(permits, time, unit));
        }

        private boolean took(String how, boolean success) {
            if (success) {
                taken = how;
            }
            return success;
        }
    }

    @Test
    void aFreeSlotIsTakenAtOnceAndGivesNoRightToPassOthers() throws Refusal {
        assertEquals("at once", takeATurn());

        lock.othersWait = true;

        assertEquals("behind the others", takeATurn());
    }

    @Test
    void whoHadToWaitPassesOthersForAShortTime() throws Refusal {
        lock.othersWait = true;
        assertEquals("behind the others", takeATurn());

        assertEquals("before the others", takeATurn());
        now += SlotTurns.NANOSECONDS_IN_A_ROW - 1;
        assertEquals("before the others", takeATurn());
        now++;
        assertEquals("behind the others", takeATurn());
        assertEquals("before the others", takeATurn());
    }

    @Test
    void whenNobodyWaitsAnyMoreTheRightEnds() throws Refusal {
        lock.othersWait = true;
        takeATurn();
        lock.othersWait = false;
        now += SlotTurns.NANOSECONDS_IN_A_ROW;
        assertEquals("at once", takeATurn());

        lock.othersWait = true;

        assertEquals("behind the others", takeATurn());
    }

    @Test
    void aSlotThatIsTakenIsWaitedForByWhomeverMayPass() throws Refusal {
        lock.othersWait = true;
        takeATurn();
        lock.acquireUninterruptibly();

        Refusal refusal = assertThrows(Refusal.class, () -> turns.acquire(attempt(Duration.ofMillis(1))));

        assertEquals(Reason.WAITED_TOO_LONG, refusal.reason());
        lock.release();
        assertEquals("before the others", takeATurn());
    }

    private String takeATurn() throws Refusal {
        turns.acquire(attempt(Duration.ofMinutes(1)));
        turns.release();
        assertEquals(1, lock.availablePermits());
        return lock.taken;
    }

    private static Attempt attempt(Duration patience) {
        return new Attempt(new Attempt.Manner(patience, line -> { }));
    }
}
