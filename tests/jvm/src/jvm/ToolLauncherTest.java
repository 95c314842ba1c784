// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.Processes;
import jvm.support.Tool;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.Arrays;

/** How the launcher starts Java, with the archive of classes and without. */
class ToolLauncherTest {
    private static final Path BUILT = Tool.JAR.getParent();
    private static final String JAVA_HOME = System.getProperty("java.home");
    private static final String VERSION = "vornixtoken-tool \\d+(\\.\\d+)+\n";

    @TempDir
    Path folder;

    @BeforeEach
    void copyTool() throws IOException {
        for (String name : Arrays.asList("vornixtoken-tool", "vornixtoken-tool-archive", "vornixtoken-tool.jar",
                "vornixtoken.jar", "picocli.jar")) {
            Files.copy(BUILT.resolve(name), folder.resolve(name));
        }
    }

    @Test
    void classesComeFromTheArchive() throws Exception {
        archive();

        assertEquals("shared objects file (top)", sourceOfClasses());
    }

    @Test
    void anArchiveOlderThanTheJarsIsNotUsed() throws Exception {
        archive();
        Files.setLastModifiedTime(folder.resolve("vornixtoken-tool.jar"), FileTime.fromMillis(0));

        assertTrue(run().matches(VERSION), this::run);
        assertTrue(sourceOfClasses().endsWith("picocli.jar"), this::run);
    }

    @Test
    void aDamagedArchiveIsNotUsed() throws Exception {
        Files.write(folder.resolve("vornixtoken-tool.jsa"), new byte[100_000]);

        assertTrue(run().matches(VERSION), this::run);
    }

    /** In some lanes of the tests the build had another Java. */
    @Test
    void theArchiveOfTheBuildServesOrIsNotUsed() throws Exception {
        String output = Processes.run("env", "JAVA_HOME=" + JAVA_HOME, BUILT.resolve("vornixtoken-tool").toString(),
                "--version");

        assertTrue(output.matches(VERSION), output);
    }

    @ParameterizedTest
    @ValueSource(strings = {"", "JAVA_VERSION=\"1.8.0_392\"\n", "JAVA_VERSION=\"9\"\n", "JAVA_VERSION=\"11.0.21\"\n",
        "OTHER=\"17\"\n"})
    void anOldOrUnknownJavaGetsNoOptions(String release) throws Exception {
        Files.write(folder.resolve("vornixtoken-tool.jsa"), new byte[1]);
        Path home = javaThatPrintsItsArguments();
        if (!release.isEmpty()) {
            Files.write(home.resolve("release"), release.getBytes(StandardCharsets.UTF_8));
        }

        assertEquals("-jar " + folder.toRealPath() + "/vornixtoken-tool.jar a  b\n",
                Processes.run("env", "JAVA_HOME=" + home, folder.resolve("vornixtoken-tool").toString(), "a  b"));
    }

    @ParameterizedTest
    @ValueSource(strings = {"JAVA_TOOL_OPTIONS", "JDK_JAVA_OPTIONS", "_JAVA_OPTIONS"})
    void aCollectorThatTheUserChoseIsKept(String variable) throws Exception {
        String output = Processes.run("env", "JAVA_HOME=" + JAVA_HOME, variable + "=-XX:+UseParallelGC",
                folder.resolve("vornixtoken-tool").toString(), "--version");

        assertTrue(output.matches("(?s).*Picked up " + variable + ".*\n" + VERSION), output);
    }

    private void archive() throws Exception {
        Processes.run("env", "JAVA_HOME=" + JAVA_HOME, folder.resolve("vornixtoken-tool-archive").toString());
    }

    private String run() {
        try {
            return Processes.run("env", "JAVA_HOME=" + JAVA_HOME, folder.resolve("vornixtoken-tool").toString(),
                    "--version");
        } catch (Exception failure) {
            throw new AssertionError(failure);
        }
    }

    private String sourceOfClasses() throws Exception {
        Path log = folder.resolve("classes");
        // Java reads this variable behind the launcher's options.
        Processes.run("env", "JAVA_HOME=" + JAVA_HOME, "_JAVA_OPTIONS=-Xlog:class+load:file=" + log,
                folder.resolve("vornixtoken-tool").toString(), "--version");
        return Files.readAllLines(log).stream().filter(line -> line.contains(" picocli.CommandLine source: "))
                .map(line -> line.split(" source: ")[1]).findFirst().orElse("nowhere");
    }

    private Path javaThatPrintsItsArguments() throws IOException {
        Path java = Files.createDirectories(folder.resolve("home/bin")).resolve("java");
        Files.write(java, "#!/bin/sh\necho \"$@\"\n".getBytes(StandardCharsets.UTF_8));
        Files.setPosixFilePermissions(java, PosixFilePermissions.fromString("rwx------"));
        return folder.resolve("home");
    }
}
