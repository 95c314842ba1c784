// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.IOException;
import java.io.PrintWriter;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.concurrent.Callable;

/** Shows on a terminal that a long job goes on, and leaves no trace of it there. */
final class Progress {
    /** Shorter jobs show nothing. */
    private static final long DELAY_IN_MILLISECONDS = 1000;
    private static final long STEP_IN_MILLISECONDS = 250;
    private static final String WHEEL = "|/-\\";

    private final PrintWriter screen;
    private final String what;
    private final Thread thread = new Thread(this::turn, "progress");
    private boolean ended;

    private Progress(PrintWriter screen, String what) {
        this.screen = screen;
        this.what = what;
    }

    /** Does some work and shows what it is, if standard error is a terminal. */
    static <T> T during(String what, PrintWriter standardError, Callable<T> work) throws Exception {
        return isTerminal(Paths.get("/proc/self/fd/2")) ? on(standardError, what, work) : work.call();
    }

    static <T> T on(PrintWriter screen, String what, Callable<T> work) throws Exception {
        Progress progress = new Progress(screen, what);
        progress.thread.setDaemon(true);
        progress.thread.start();
        try {
            return work.call();
        } finally {
            progress.end();
        }
    }

    private static boolean isTerminal(Path descriptor) {
        try {
            String file = Files.readSymbolicLink(descriptor).toString();
            return file.startsWith("/dev/pts/") || file.startsWith("/dev/tty") || file.equals("/dev/console");
        } catch (IOException | UnsupportedOperationException unknown) {
            return false;
        }
    }

    private synchronized void turn() {
        long begin = System.nanoTime();
        String shown = "";
        try {
            wait(DELAY_IN_MILLISECONDS);
            for (int step = 0; !ended; step++) {
                shown = WHEEL.charAt(step % WHEEL.length()) + " " + what + ", "
                        + (System.nanoTime() - begin) / 1_000_000_000 + " s";
                show("\r" + shown);
                wait(STEP_IN_MILLISECONDS);
            }
        } catch (InterruptedException end) {
            // Nobody interrupts this thread.
        }
        if (!shown.isEmpty()) {
            show("\r" + shown.replaceAll(".", " ") + "\r");
        }
    }

    private void show(String text) {
        screen.print(text);
        screen.flush();
    }

    private void end() {
        synchronized (this) {
            ended = true;
            notifyAll();
        }
        try {
            thread.join();
        } catch (InterruptedException forLater) {
            Thread.currentThread().interrupt();
        }
    }
}
