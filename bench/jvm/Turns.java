// SPDX-License-Identifier: Apache-2.0
package bench;

import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;

/** Contestants that do one job in turn, each compared with the first, round by round. */
final class Turns {
    private static final ThreadMXBean THREADS = ManagementFactory.getThreadMXBean();

    /** Does the job some times and tells the microseconds of one. */
    interface Contestant {
        double measure() throws Exception;

        /** The same, with something behind it that does not count. */
        default Contestant before(Contestant uncounted) {
            return () -> {
                double time = measure();
                uncounted.measure();
                return time;
            };
        }

        /** The same, with something before it that does not count. */
        default Contestant after(Contestant uncounted) {
            return () -> {
                uncounted.measure();
                return measure();
            };
        }
    }

    /** What is timed. */
    interface Work {
        void run() throws Exception;
    }

    private final String job;
    private final List<String> names = new ArrayList<>();
    private final List<Contestant> contestants = new ArrayList<>();

    Turns(String job) {
        this.job = job;
    }

    /** Begins a table. */
    static void head(String title, String ratio) {
        System.out.printf("%n### %s%n%n| | | µs | %s |%n|---|---|---|---|%n", title, ratio);
    }

    Turns with(String name, Contestant contestant) {
        names.add(name);
        contestants.add(contestant);
        return this;
    }

    /** The processor time of this thread: waiting and other programs do not count. */
    static Contestant repeated(int times, Work work) {
        return () -> {
            long start = THREADS.getCurrentThreadCpuTime();
            for (int i = 0; i < times; i++) {
                work.run();
            }
            return (THREADS.getCurrentThreadCpuTime() - start) / 1000.0 / times;
        };
    }

    /** Prints a row for each contestant. The first rounds, in which Java compiles, do not count. */
    void take(int warmUp, int rounds) throws Exception {
        double[][] times = new double[contestants.size()][rounds];
        for (int round = -warmUp; round < rounds; round++) {
            for (int turn = 0; turn < times.length; turn++) {
                int which = Math.floorMod(round + turn, times.length);
                double time = contestants.get(which).measure();
                if (round >= 0) {
                    times[which][round] = time;
                }
            }
        }
        for (int i = 0; i < times.length; i++) {
            double[] ratios = new double[rounds];
            for (int round = 0; round < rounds; round++) {
                ratios[round] = times[i][round] / times[0][round];
            }
            System.out.printf(Locale.ROOT, "| %s | %s | %s | %s |%n", job, names.get(i), spread(times[i]),
                    spread(ratios));
        }
    }

    private static String spread(double[] values) {
        double[] sorted = values.clone();
        Arrays.sort(sorted);
        int last = sorted.length - 1;
        String format = sorted[last / 2] < 0.01 ? "%.4f" : sorted[last / 2] < 10 ? "%.2f" : "%.1f";
        return String.format(Locale.ROOT, format + " (" + format + " to " + format + ")",
                sorted[Math.round(last * 0.5f)], sorted[Math.round(last * 0.25f)], sorted[Math.round(last * 0.75f)]);
    }
}
