// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static jvm.support.Tool.run;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Tool;
import jvm.support.ToolShell;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.nio.file.Files;
import java.nio.file.Path;

/** What the tool writes, and whether it arrives. The test's environment holds the PINs. */
class ToolOutputTest extends ScriptedToken {
    private static final String UNWRITTEN = "vornixtoken-tool: standard output could not be written\nstatus 3\n";

    @ParameterizedTest
    @CsvSource({
            "'a\nprivate key ''forged'' 99', 'a\\u000aprivate key ''forged'' 99'", // a line of its own
            "'a\r\u001b[2K\tb',   a\\u000d\\u001b[2K\\u0009b", // a line written over, a tabulator
            "'a\u0085\u009b2Kb', a\\u0085\\u009b2Kb", // the same by control characters beyond ASCII
            "'\u2028\u2029',     \\u2028\\u2029", // separators of lines and paragraphs
            "'a\u202eb\u2067c',  a\\u202eb\\u2067c", // written from right to left
            "'a\u200bb\ufeff\udb40\udc41', a\\u200bb\\ufeff\\udb40\\udc41", // invisible
            "'a\\u000ab',        a\\\\u000ab", // what looks like a code
            "'Zo\u00eb''s \u5370\u9274 \ud83d\ude00', 'Zo\u00eb''s \u5370\u9274 \ud83d\ude00'"})
    void aLabelStaysOneHarmlessWord(String label, String shown, @TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("c"), new byte[] {1});
        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("import-certificate", "-l", label, file.toString()));

        assertPrints("certificate '" + shown + "', without private key\n", onToken("list"));
    }

    @Test
    void messagesAreHarmless() {
        Result refused = onToken("read-certificate", "-l", "x\u001b[2J\nvornixtoken-tool: all is well");
        assertTrue(refused.err.startsWith("vornixtoken-tool read-certificate: "
                + "reading certificate 'x\\u001b[2J\\u000avornixtoken-tool: all is well', token in "), refused.err);
        assertEquals(1, refused.err.lines().count());

        Result misused = run("\u001b]0;title\u0007");
        assertEquals("Unmatched argument at index 0: '\\u001b]0;title\\u0007'", misused.err.lines().findFirst().get());
    }

    @Test
    void eachPlaceWithoutTheLibraryHasItsLine() throws Exception {
        Result result = new ChildJvm().options("-Dvornixtoken.library=/nonexistent")
                .tool("reset-terminal", "-t", "none");

        assertTrue(result.err.startsWith("vornixtoken-tool reset-terminal: libvornixtoken_session.so cannot be loaded. "
                + "Tried:\n- system property vornixtoken.library: "), result::toString);
        assertEquals(3, result.status);
    }

    @ParameterizedTest
    @ValueSource(strings = {"list", "list --json", "readers", "doctor --json", "read-certificate -l alice -o -", "--help",
        "generate-completion"})
    void aFullDiskIsAFailure(String command) throws Exception {
        assertEquals(UNWRITTEN, ToolShell.run(module, "tool " + command + " >/dev/full; echo status $?"));
    }

    @ParameterizedTest
    @ValueSource(strings = {"list", "list --json"})
    void closedStandardOutputIsAFailure(String command) throws Exception {
        assertEquals(UNWRITTEN, ToolShell.run(module, "tool " + command + " >&-; echo status $?"));
    }

    @Test
    void aRefusalStaysOneWhenItCannotBeWritten() throws Exception {
        assertEquals("status 1\n", ToolShell.run(module,
                "tool read-certificate -l nobody --json >/dev/full; echo status $?"));
    }

    @Test
    void aDashIsStandardOutput(@TempDir Path folder) throws Exception {
        Path file = folder.resolve("file");
        Path written = folder.resolve("written");
        assertPrints("", onToken("sign", "-o", file.toString(), "/dev/null"));

        ToolShell.run(module, "cd '" + folder + "' && tool sign -o - /dev/null >'" + written + "' && ! test -e ./-");

        assertArrayEquals(Files.readAllBytes(file), Files.readAllBytes(written));
        assertEquals(onToken("sign", "--json", "/dev/null").out, onToken("sign", "--json", "-o", "-", "/dev/null").out);
    }

    private Result onToken(String command, String... arguments) {
        return Tool.runOn(module, READER, command, arguments);
    }
}
