// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** The same work in several threads. */
public final class Threads {
    private Threads() {
    }

    public interface Work {
        void run() throws Exception;
    }

    /** Does the work `times` times in each of `count` threads; a failure in any of them is thrown. */
    public static void run(int count, int times, Work work) {
        ExecutorService threads = Executors.newFixedThreadPool(count);
        try {
            Callable<Void> all = () -> {
                for (int i = 0; i < times; i++) {
                    work.run();
                }
                return null;
            };
            List<Future<Void>> running = new ArrayList<>();
            for (int i = 0; i < count; i++) {
                running.add(threads.submit(all));
            }
            for (Future<Void> each : running) {
                each.get();
            }
        } catch (ExecutionException | InterruptedException failure) {
            throw new AssertionError(failure);
        } finally {
            threads.shutdownNow();
        }
    }
}
