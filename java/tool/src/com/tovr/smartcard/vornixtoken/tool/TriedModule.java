// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.File;
import java.io.IOException;
import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Iterator;
import java.util.List;
import java.util.UUID;
import java.util.concurrent.TimeUnit;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** What became of a module that was tried in a process of its own, so that a crash or a hang hurts nobody. */
final class TriedModule {
    static final String CRASHED = "CRASHED";
    static final String HUNG = "HUNG";
    /** A module gets this long. */
    private static final long LIMIT_IN_SECONDS = 10;
    /** The process gets this long until it tries the module, on a busy machine. */
    private static final long START_IN_SECONDS = 120;
    private static final List<String> HANDED_ON = Arrays.asList("java.library.path", "java.io.tmpdir",
            "vornixtoken.library", "vornixtoken.sessionLibrary", "vornixtoken.vendorFunctions");

    private static final Pattern SIGNAL = Pattern.compile("(?m)^#  (SIG[A-Z]+)");
    /** The status of a process that a signal ended is above. */
    private static final int SIGNALLED = 128;

    final KnownModule module;
    final SoftTokenFolder softToken;
    final List<FoundReader> readers = new ArrayList<>();
    boolean vendorFunctions;
    /** The reader that a name chooses; null: none, or no name. */
    FoundReader chosen;
    /** Why a name chooses no reader; null: it does, or no name. */
    String notChosen;
    /** The name of a {@link com.tovr.smartcard.vornixtoken.Reason}, or of a reason of this class; null: all is well. */
    String reason;
    String step = "";
    String failure;
    private boolean ended;

    TriedModule(KnownModule module) {
        this.module = module;
        softToken = SoftTokenFolder.of(module.file);
    }

    /** Tries a module, and the name of a reader unless that is null. */
    static TriedModule of(KnownModule module, String terminal) throws IOException {
        TriedModule tried = new TriedModule(module);
        Path folder = Files.createTempDirectory("vornixtoken-probe");
        try {
            tried.run(folder, terminal);
        } finally {
            Folders.delete(folder);
        }
        return tried;
    }

    /** Tells whether the next use of the module will make its folder. Here another one was used. */
    boolean makesFolder() {
        return softToken != null && softToken.isMissing();
    }

    private void run(Path folder, String terminal) throws IOException {
        Path out = folder.resolve("out");
        String mark = UUID.randomUUID().toString();
        ProcessBuilder builder = new ProcessBuilder(command(folder, mark, terminal))
                .redirectInput(new File("/dev/null")).redirectOutput(out.toFile())
                .redirectError(folder.resolve("err").toFile());
        builder.environment().keySet().removeIf(name -> name.startsWith("VORNIX_") && name.endsWith("_PIN"));
        if (makesFolder()) {
            builder.environment().put(SoftTokenFolder.VARIABLE, folder.resolve("softtoken").toString());
        }
        Process process = builder.start();
        boolean inTime = await(process, out, mark);
        readLines(out, mark);
        if (!ended) {
            reason = inTime ? CRASHED : HUNG;
            failure = inTime ? end(process.exitValue(), text(out)) : "it does not answer within " + LIMIT_IN_SECONDS + " s";
        }
    }

    private List<String> command(Path folder, String mark, String terminal) {
        List<String> command = new ArrayList<>(Arrays.asList(
                new File(System.getProperty("java.home"), "bin/java").getPath(), "-XX:+IgnoreUnrecognizedVMOptions",
                "-XX:TieredStopAtLevel=1", "-XX:-CreateCoredumpOnCrash", "-XX:ErrorFile=" + folder.resolve("crash")));
        if (JavaRuntime.release() >= JavaRuntime.NATIVE_ACCESS_IS_ASKED_FOR) {
            command.add("--enable-native-access=ALL-UNNAMED");
        }
        for (String property : HANDED_ON) {
            if (System.getProperty(property) != null) {
                command.add("-D" + property + "=" + System.getProperty(property));
            }
        }
        command.addAll(Arrays.asList("-cp", System.getProperty("java.class.path"), ModuleProbe.class.getName(), mark,
                module.file));
        if (terminal != null) {
            command.add(terminal);
        }
        return command;
    }

    /** Waits for the end of a process, and ends it when its time is up. The time begins with its first line. */
    private static boolean await(Process process, Path out, String mark) throws IOException {
        try {
            long start = System.nanoTime();
            while (!text(out).contains(mark) && TimeUnit.NANOSECONDS.toSeconds(System.nanoTime() - start) < START_IN_SECONDS) {
                if (process.waitFor(20, TimeUnit.MILLISECONDS)) {
                    return true;
                }
            }
            return process.waitFor(LIMIT_IN_SECONDS, TimeUnit.SECONDS);
        } catch (InterruptedException end) {
            Thread.currentThread().interrupt();
            return false;
        } finally {
            process.destroyForcibly();
        }
    }

    private static String text(Path file) throws IOException {
        return new String(Files.readAllBytes(file), StandardCharsets.UTF_8);
    }

    private void readLines(Path out, String mark) throws IOException {
        for (String line : text(out).split("\n")) {
            if (line.startsWith(mark + " ")) {
                List<String> words = new ArrayList<>();
                for (String word : line.substring(mark.length() + 1).split(" ", -1)) {
                    words.add(URLDecoder.decode(word, "UTF-8"));
                }
                Iterator<String> rest = words.iterator();
                take(rest.next(), rest);
            }
        }
    }

    private void take(String what, Iterator<String> words) {
        switch (what) {
            case ModuleProbe.READER:
                readers.add(new FoundReader(words));
                break;
            case ModuleProbe.VENDOR_FUNCTIONS:
                vendorFunctions = Boolean.parseBoolean(words.next());
                break;
            case ModuleProbe.CHOSEN:
                chosen = new FoundReader(words);
                break;
            case ModuleProbe.NOT_CHOSEN:
                notChosen = words.next();
                break;
            case ModuleProbe.FAILED:
                reason = words.next();
                step = words.next();
                failure = words.next();
                break;
            default:
                ended |= what.equals(ModuleProbe.ENDED);
        }
    }

    /** How the process ended. Java reports most signals before it ends. */
    private static String end(int status, String output) {
        Matcher report = SIGNAL.matcher(output);
        if (report.find()) {
            return "it crashes the process that loads it (" + report.group(1) + ")";
        }
        return status > SIGNALLED ? "it crashes the process that loads it (signal " + (status - SIGNALLED) + ")"
                : "it ends the process that loads it (status " + status + ")";
    }
}
