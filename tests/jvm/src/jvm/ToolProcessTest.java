// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Terminal;
import jvm.support.Tool;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;

/** The command-line tool as a process of its own: its jar, its terminal, its locale and its shell. */
class ToolProcessTest extends ScriptedToken {
    private static final String UNDECODED = " is no text in the locale's encoding; "
            + "set LC_ALL, to C.UTF-8 for instance\n";

    @Test
    void theJarRunsByItself() throws Exception {
        ChildJvm child = new ChildJvm("/nonexistent");
        if (Runtime.version().feature() >= 24) {
            child.options("--illegal-native-access=deny");
        }
        Result result = child.options("-jar", Tool.JAR.toString()).launch("info", "--json", "-m", module, "-t", READER);

        assertEquals(0, result.status, result::toString);
        assertTrue(result.out.startsWith("{\"ok\":true,\"label\":\"Scripted Token\","), result::toString);
        assertEquals("", result.err);
    }

    @Test
    void theLauncherFindsItsJarsThroughALinkAndJavaByJavaHome(@TempDir Path folder) throws Exception {
        Path link = Files.createSymbolicLink(folder.resolve("a tool"), Tool.LAUNCHER);

        assertTrue(Processes.run(link.toString(), "--version").matches("vornixtoken-tool \\d+(\\.\\d+)+\n"));
        assertEquals("a runtime\n", Processes.run("env", "JAVA_HOME=" + runtimeThatPrints(folder, "a runtime"),
                link.toString()));
    }

    @Test
    void withoutATerminalToAskAtThePinIsMissed() throws Exception {
        Result result = new ChildJvm().without("VORNIX_USER_PIN").toolOn(module, READER, "list");

        assertEquals(3, result.status, result::toString);
        assertEquals("vornixtoken-tool list: no PIN: standard input and output are not both a terminal to ask at; "
                + "use --pin-file or set VORNIX_USER_PIN\n", result.err);
    }

    @Test
    void aPinIsAskedForAndNotShown() throws Exception {
        assertEquals("PIN: \r\nstatus 0\r\n", atTerminal("clean --yes", "12345678"));
        assertTrue(atTerminal("clean --yes", "00000000").endsWith("CKR_PIN_INCORRECT (0xA0) from C_Login\r\nstatus 1\r\n"));
    }

    @Test
    void aNewPinIsAskedForTwice() throws Exception {
        assertEquals("PIN: \r\nNew PIN: \r\nNew PIN again: \r\nstatus 0\r\n",
                atTerminal("change-pin", "12345678", "4321", "4321"));
        assertEquals("PIN: \r\nNew PIN: \r\nNew PIN again: \r\n"
                + "vornixtoken-tool change-pin: the two inputs differ\r\nstatus 3\r\n",
                atTerminal("change-pin", "12345678", "4321", "4312"));
    }

    /** A wrong try may be the last one. */
    @Test
    void aPinThatTheLocaleCannotExpressIsNotTried() throws Exception {
        ChildJvm ascii = new ChildJvm().environment("LC_ALL", "C").environment("VORNIX_USER_PIN", "\u00eb");
        Result result = ascii.toolOn(module, READER, "list");

        assertEquals("vornixtoken-tool list: VORNIX_USER_PIN" + UNDECODED, result.err);
        assertEquals("", result.out);
        assertEquals(3, result.status);
    }

    @Test
    void anArgumentThatTheLocaleCannotExpressIsWrongUsage() throws Exception {
        Result label = new ChildJvm().environment("LC_ALL", "C").toolOn(module, READER,
                "generate-gost", "-l", "zo\u00eb");
        Result subject = new ChildJvm().environment("LC_ALL", "C").toolOn(module, READER,
                "create-request", "-i", "01", "-s", "CN=Zo\u00eb");

        assertTrue(label.err.startsWith("Invalid value for option '--label': 'zo"), label::toString);
        assertTrue(label.err.contains("'" + UNDECODED), label::toString);
        assertEquals(2, label.status);
        assertTrue(subject.err.contains("'" + UNDECODED), subject::toString);
        assertEquals(2, subject.status);
    }

    @ParameterizedTest
    @CsvSource({
            "vornixtoken-tool gen,                generate-rsa generate-gost generate-completion",
            "vornixtoken-tool sign --f,           --flags",
            "vornixtoken-tool list --pin,         --pin-file",
            "vornixtoken-tool --json reset,       reset-terminal",
            "vornixtoken-tool verify /dev/nul,    /dev/null",
            "vornixtoken-tool list --pin-file /dev/nul, /dev/null"})
    void bashCompletesWhatIsTyped(String line, String offered, @TempDir Path folder) throws Exception {
        Path script = Files.write(folder.resolve("completion"), Tool.run("generate-completion").out.getBytes());

        assertEquals(offered + "\n", Processes.run("bash", "-c", "compopt() { :; }\n" // which wants a line being typed
                + ". \"$1\"\n"
                + "COMP_WORDS=($2)\n"
                + "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                + "registered=$(complete -p vornixtoken-tool)\n"
                + "[[ $registered =~ -F\\ ([^ ]+) ]]\n"
                + "\"${BASH_REMATCH[1]}\" vornixtoken-tool \"${COMP_WORDS[-1]}\" \"${COMP_WORDS[-2]}\"\n"
                + "echo \"${COMPREPLY[*]}\"\n", "bash", script.toString(), line));
    }

    private static Path runtimeThatPrints(Path folder, String text) throws IOException {
        Path java = Files.createDirectories(folder.resolve("a home/bin")).resolve("java");
        Files.write(java, ("#!/bin/sh\necho '" + text + "'\n").getBytes(StandardCharsets.UTF_8));
        Files.setPosixFilePermissions(java, PosixFilePermissions.fromString("rwx------"));
        return folder.resolve("a home");
    }

    private String atTerminal(String command, String... typed) throws Exception {
        Terminal terminal = new Terminal().without("VORNIX_USER_PIN").without("VORNIX_NEW_PIN");
        return terminal.toolOn(module, READER, command, typed);
    }
}
