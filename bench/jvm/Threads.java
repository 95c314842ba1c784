// SPDX-License-Identifier: Apache-2.0
package bench;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** Threads with a session each that share a fixed number of jobs. */
final class Threads implements AutoCloseable {
    private final List<TokenSession> sessions = new ArrayList<>();
    private final ExecutorService threads;
    private final int jobs;
    private final Job job;

    Threads(int count, Token token, Pin pin, int jobs, Job job) throws Exception {
        threads = Executors.newFixedThreadPool(count);
        for (int i = 0; i < count; i++) {
            sessions.add(token.open(pin));
        }
        this.jobs = jobs;
        this.job = job;
    }

    /** What each thread does over and over. */
    interface Job {
        void in(TokenSession session) throws Exception;
    }

    /** The wall-clock time of all jobs, for each of them. */
    double measure() throws Exception {
        long start = System.nanoTime();
        List<Future<?>> running = new ArrayList<>();
        for (TokenSession session : sessions) {
            running.add(threads.submit(() -> {
                for (int i = 0; i < jobs / sessions.size(); i++) {
                    job.in(session);
                }
                return null;
            }));
        }
        for (Future<?> thread : running) {
            thread.get();
        }
        return (System.nanoTime() - start) / 1000.0 / jobs;
    }

    @Override
    public void close() throws Pkcs11Exception {
        threads.shutdown();
        for (TokenSession session : sessions) {
            session.close();
        }
    }
}
