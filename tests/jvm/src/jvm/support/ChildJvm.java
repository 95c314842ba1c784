// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.TimeUnit;

/** A Java process of its own, for what concerns a whole process: its standard output, its environment, its options. */
public final class ChildJvm {
    private static final long PATIENCE_IN_SECONDS = 300;
    /** What lives for a second gains little from compiled code, and nothing from a parallel collector. */
    private static final List<String> QUICK_START =
            Arrays.asList("-XX:TieredStopAtLevel=1", "-XX:CompileThresholdScaling=3", "-XX:+UseSerialGC");

    private final List<String> options = new ArrayList<>();
    private final ProcessBuilder builder = new ProcessBuilder();

    /** One that knows where the library is. */
    public ChildJvm() {
        this(System.getProperty("java.library.path"));
    }

    /** One that looks for the library in these folders. */
    public ChildJvm(String libraryPath) {
        options.addAll(QUICK_START);
        options("-Djava.library.path=" + libraryPath, "-Dvornix.scripted.module=" + Scripted.MODULE);
    }

    public ChildJvm options(String... more) {
        options.addAll(Arrays.asList(more));
        return this;
    }

    /** Grants native access to a module, or to ALL-UNNAMED, and to nothing else. */
    public ChildJvm grant(String module) {
        int release = Runtime.version().feature();
        if (release >= 17) { // earlier ones grant it to all, and know no such option
            options("--enable-native-access=" + module);
        }
        return release >= 24 ? options("--illegal-native-access=deny") : this;
    }

    public ChildJvm environment(String name, String value) {
        builder.environment().put(name, value);
        return this;
    }

    public ChildJvm without(String name) {
        builder.environment().remove(name);
        return this;
    }

    /** Gives it a file as standard input. */
    public ChildJvm input(Path file) {
        builder.redirectInput(file.toFile());
        return this;
    }

    /** Runs a main class on the tests' class path. */
    public Result run(Class<?> main, String... arguments) throws IOException, InterruptedException {
        return run(System.getProperty("java.class.path"), main, arguments);
    }

    /** Runs a main class on a class path of its own. */
    public Result run(String classPath, Class<?> main, String... arguments) throws IOException, InterruptedException {
        options("-cp", classPath, main.getName());
        return launch(arguments);
    }

    /** Runs the command-line tool on a token. */
    public Result toolOn(String module, String reader, String... arguments) throws IOException, InterruptedException {
        return environment("VORNIX_MODULE", module).environment("VORNIX_TERMINAL", reader).tool(arguments);
    }

    /** Runs the command-line tool. Java takes its classes from their archive, or ignores an archive that does not fit. */
    public Result tool(String... arguments) throws IOException, InterruptedException {
        return options("-Xlog:disable", "-Xlog:all=error,cds*=off:stderr", "-XX:SharedArchiveFile=" + Tool.ARCHIVE,
                "-jar", Tool.JAR.toString()).launch(arguments);
    }

    /** Runs what the options name. */
    public Result launch(String... arguments) throws IOException, InterruptedException {
        Path out = Files.createTempFile("child", ".out");
        Path err = Files.createTempFile("child", ".err");
        try {
            List<String> command = new ArrayList<>();
            command.add(Paths.get(System.getProperty("java.home"), "bin", "java").toString());
            command.addAll(options);
            command.addAll(Arrays.asList(arguments));
            Process process = builder.command(command).redirectOutput(out.toFile()).redirectError(err.toFile()).start();
            if (!process.waitFor(PATIENCE_IN_SECONDS, TimeUnit.SECONDS)) {
                process.destroyForcibly();
                throw new AssertionError("no end within " + PATIENCE_IN_SECONDS + " s: " + command);
            }
            return new Result(process.exitValue(), text(out), text(err));
        } finally {
            Files.delete(out);
            Files.delete(err);
        }
    }

    private static String text(Path file) throws IOException {
        return new String(Files.readAllBytes(file), StandardCharsets.UTF_8);
    }
}
