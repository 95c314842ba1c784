// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Terminal;
import jvm.support.Transcript;

import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.util.Collections;
import java.util.List;

/** The commands that destroy all objects ask first. The test's environment holds the PINs. */
class ToolErasureTest extends ScriptedToken {
    private static final String QUESTION = "Reader '" + READER + "', token 'Scripted Token', "
            + "serial number 0123456789abcdef. All objects will be lost.\r\nType \"yes\" to go on: ";

    private String shown;

    @ParameterizedTest
    @ValueSource(strings = {"clean", "init"})
    void withoutATerminalNothingIsSent(String command) {
        assertEquals(Collections.emptyList(), Transcript.during(() -> {
            Result result = withoutTerminal(new ChildJvm(), command);

            assertEquals(2, result.status, result::toString);
            assertTrue(result.err.startsWith("All objects would be lost, and there is no terminal to ask at: use --yes\n"
                    + "Usage: vornixtoken-tool " + command + " "), result::toString);
        }));
    }

    /** Some releases of Java have a console even then. */
    @ParameterizedTest
    @ValueSource(strings = {"clean", "init"})
    void aConsoleThatIsNoTerminalIsNotAsked(String command) {
        Result result = withoutTerminal(new ChildJvm().options("-Djdk.console=jdk.internal.le"), command);

        assertEquals(2, result.status, result::toString);
    }

    @ParameterizedTest
    @CsvSource({"clean, C_DestroyObject", "init, C_InitToken"})
    void yesAtTheTerminalErases(String command, String call) {
        List<String> calls = Transcript.during(() -> answer(command, "yes"));

        assertEquals(QUESTION + "yes\r\nstatus 0\r\n", shown);
        assertTrue(calls.stream().anyMatch(line -> line.startsWith(call)), calls::toString);
    }

    @ParameterizedTest
    @CsvSource({"clean, y", "clean, ''", "init, YES", "init, 'yes '"})
    void anyOtherAnswerErasesNothing(String command, String answer) {
        List<String> calls = Transcript.during(() -> answer(command, answer));

        assertEquals(QUESTION + answer + "\r\nvornixtoken-tool " + command
                + ": not confirmed, nothing was done\r\nstatus 3\r\n", shown);
        assertTrue(calls.stream().noneMatch(line -> line.startsWith("C_Login") || line.startsWith("C_InitToken")),
                calls::toString);
    }

    private Result withoutTerminal(ChildJvm child, String command) {
        try {
            return child.toolOn(module, READER, command);
        } catch (Exception failure) {
            throw new AssertionError(failure);
        }
    }

    private void answer(String command, String answer) {
        try {
            shown = new Terminal().toolOn(module, READER, command, answer);
        } catch (Exception failure) {
            throw new AssertionError(failure);
        }
    }
}
