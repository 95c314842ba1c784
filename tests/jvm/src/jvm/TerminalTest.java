// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import jvm.support.Terminal;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.Arrays;

/** The terminals of other tests. */
class TerminalTest {
    @Test
    void theCommandMeetsATerminal() throws Exception {
        assertEquals("name: \r\nAlice\r\n", new Terminal()
                .run("test -t 0 && stty -echo && printf 'name: ' && read name && echo && echo $name", "Alice"));
    }

    @Test
    void whatScriptMissesIsTold(@TempDir Path folder) throws Exception {
        Path script = Files.write(folder.resolve("script"), Arrays.asList("#!/bin/sh",
                "echo 'script: failed to create pseudo-terminal: No such device' >&2", "exit 1"));
        Files.setPosixFilePermissions(script, PosixFilePermissions.fromString("rwx------"));

        AssertionError failure = assertThrows(AssertionError.class, () -> new Terminal()
                .environment("PATH", folder + ":" + System.getenv("PATH")).run("true", "typed"));

        assertEquals("no terminal from the program script, which needs /dev/ptmx and /dev/pts (status 1): "
                + "script: failed to create pseudo-terminal: No such device\n", failure.getMessage());
    }
}
