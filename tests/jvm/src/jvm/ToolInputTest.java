// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static jvm.support.Tool.run;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.programs.PinHunt;
import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Tool;
import jvm.support.ToolShell;
import jvm.support.Transcript;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Collections;

/** Arguments, environment and PIN files are taken as they are. The test's environment holds the PINs. */
class ToolInputTest extends ScriptedToken {
    private static final String EMPTY_NAME =
            "Invalid value for option '--terminal': an empty name would be any reader\n";

    @Test
    void noArgumentNamesAFileOfArguments(@TempDir Path folder) throws Exception {
        String argument = "@" + Files.write(folder.resolve("words"), Collections.singletonList("alice"));

        assertTrue(onToken("read-certificate", "--label", argument).err
                .startsWith("vornixtoken-tool read-certificate: reading certificate '" + argument + "', "));
    }

    @Test
    void noVariableIsExpanded() throws Exception {
        String refusal = ToolShell.run(module, "export VORNIX_MODULE='./${sys:user.name}' VORNIX_TERMINAL='${env:HOME}'\n"
                + "tool info || tool info --module \"$VORNIX_MODULE\" --terminal \"$VORNIX_TERMINAL\" || :");

        assertEquals(2, refusal.lines().filter(line -> line.startsWith("vornixtoken-tool info: "
                + "reading token information, token in reader '${env:HOME}' of module ./${sys:user.name}: ")).count(),
                refusal);
    }

    @ParameterizedTest
    @ValueSource(strings = {"info", "list", "change-pin", "change-puk", "init", "clean", "reset-terminal"})
    void anEmptyReaderNameIsWrongUsage(String command) {
        Result result = run(command, "--terminal", "");

        assertTrue(result.err.startsWith(EMPTY_NAME), result.err);
        assertEquals(2, result.status);
    }

    @Test
    void anEmptyReaderNameInTheEnvironmentIsWrongUsageToo() throws Exception {
        String refusal = ToolShell.run(module, "VORNIX_TERMINAL= tool list 2>&1; echo status $?");

        assertTrue(refusal.startsWith(EMPTY_NAME), refusal);
        assertTrue(refusal.endsWith("\nstatus 2\n"), refusal);
    }

    @Test
    void aPinAndDataComeFromStandardInputTogether(@TempDir Path folder) throws Exception {
        Path out = folder.resolve("out");

        assertEquals("status 0\n", ToolShell.run(module, "printf '12345678\\nthe rest' | VORNIX_USER_PIN=wrong "
                + "tool sign --pin-file - --out '" + out + "' -; echo status $?"));

        assertEquals("certificate 0;private 0;certificates null;flags 0;the rest", new String(Files.readAllBytes(out)));
    }

    @ParameterizedTest
    @ValueSource(strings = {"12345678\\nnext\\n", "12345678\\r\\nnext\\r\\n", "12345678\\nnext"})
    void twoPinsComeFromStandardInput(String typed) {
        String call = Transcript.line("C_SetPIN", () -> {
            try {
                assertEquals("status 0\n", ToolShell.run(module, "printf '" + typed + "' | "
                        + "tool change-pin --pin-file - --new-pin-file -; echo status $?"));
            } catch (Exception failure) {
                throw new AssertionError(failure);
            }
        });

        assertEquals("C_SetPIN(session, old \"12345678\" [8], new \"next\" [4]): CKR_OK", call);
    }

    @Test
    void aFileWithoutAnEndHoldsNoPin(@TempDir Path folder) throws Exception {
        Path longest = Files.write(folder.resolve("longest"), new byte[1024]);
        Result refused = onToken("list", "--pin-file", "/dev/zero");

        assertEquals("vornixtoken-tool list: /dev/zero holds no PIN: its first line is longer than 1024 bytes\n",
                refused.err);
        assertEquals(3, refused.status);
        assertEquals(1, onToken("list", "--pin-file", longest.toString()).status);
        assertPrints("", onToken("change-pin", "--new-pin-file", longest.toString()));
        assertEquals(0, onToken("list", "--pin-file", longest.toString()).status);
    }

    @ParameterizedTest
    @ValueSource(strings = {"file", "-"})
    void noCopyOfAPinIsLeft(String source, @TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("pin"), PinHunt.secret());
        String name = source.equals("-") ? "-" : file.toString();

        Result result = new ChildJvm().input(file).options("-Xms32m", "-Xmx32m", "-Xmn24m")
                .run(PinHunt.class, name);

        assertEquals("0 copies\n", result.out, result::toString);
    }

    private Result onToken(String command, String... arguments) {
        return Tool.runOn(module, READER, command, arguments);
    }
}
