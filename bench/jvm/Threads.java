// SPDX-License-Identifier: Apache-2.0
package bench;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** Threads with a session each that share a fixed number of jobs. */
final class Threads {
    private static final int JOBS = 800;

    private final int count;
    private final Token token;
    private final Pin pin;

    Threads(int count, Token token, Pin pin) {
        this.count = count;
        this.token = token;
        this.pin = pin;
    }

    /** The wall-clock time of all jobs, for each of them. */
    double measure() throws Exception {
        List<TokenSession> sessions = new ArrayList<>();
        ExecutorService threads = Executors.newFixedThreadPool(count);
        try {
            for (int i = 0; i < count; i++) {
                sessions.add(token.open(pin));
            }
            long start = System.nanoTime();
            List<Future<?>> running = new ArrayList<>();
            for (TokenSession session : sessions) {
                running.add(threads.submit(() -> {
                    for (int job = 0; job < JOBS / count; job++) {
                        session.readCertificateBytes("certificate", new byte[] {1});
                    }
                    return null;
                }));
            }
            for (Future<?> thread : running) {
                thread.get();
            }
            return (System.nanoTime() - start) / 1000.0 / JOBS;
        } finally {
            threads.shutdown();
            for (TokenSession session : sessions) {
                session.close();
            }
        }
    }
}
