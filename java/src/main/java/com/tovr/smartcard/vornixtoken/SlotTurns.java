// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.concurrent.Semaphore;
import java.util.function.LongSupplier;

/**
 * The turns that one session takes on its slot. A session that had to wait for a turn may pass the others for a short
 * time, then it goes to the end of the queue. Waking the next thread takes a good part of a quick job's time, and the
 * token would be idle meanwhile. A job that takes longer than that time is one turn.
 */
final class SlotTurns {
    static final long NANOSECONDS_IN_A_ROW = 10_000_000;

    private final Semaphore lock;
    private final LongSupplier clock;
    /** Until when it may pass the others; 0: nobody else waited. */
    private volatile long end;

    SlotTurns(Semaphore lock) {
        this(lock, System::nanoTime);
    }

    SlotTurns(Semaphore lock, LongSupplier clock) {
        this.lock = lock;
        this.clock = clock;
    }

    /** Waits for a turn, which {@link #release} ends. */
    void acquire(Attempt attempt) throws Refusal {
        long lastEnd = end;
        // Without a time, tryAcquire passes those who wait.
        if (lastEnd != 0 && clock.getAsLong() - lastEnd < 0 && lock.tryAcquire()) {
            return;
        }
        end = attempt.acquire(lock, 1) ? clock.getAsLong() + NANOSECONDS_IN_A_ROW : 0;
    }

    void release() {
        lock.release();
    }
}
