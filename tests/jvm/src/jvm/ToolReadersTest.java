// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.run;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.api.Tag;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;

/** The readers of a module, which the tool tries in a process of its own. */
class ToolReadersTest extends ScriptedToken {
    @Test
    void aTableShowsReadersAndTokens() {
        List<String> calls = Transcript.during(() -> {
            Result result = run("readers", "-m", module);

            assertTrue(result.out.startsWith("Module " + module + "\n"
                    + "SLOT  READER             TOKEN           MODEL           SERIAL NUMBER     STATE\n"
                    + "7     Scripted Reader 0  Scripted Token  Scripted Model  0123456789abcdef  PIN ready\n"
                    + "\n"
                    + "PC/SC readers\n"), result::toString);
            assertEquals("", result.err);
            assertEquals(0, result.status);
        });

        assertTrue(calls.stream().noneMatch(call -> call.startsWith("C_OpenSession")), calls::toString);
    }

    @Test
    void jsonHasTheSame() {
        Result result = run("readers", "-m", module, "--json");

        assertTrue(result.out.startsWith("{\"ok\":true,\"modules\":[{\"file\":\"" + module + "\",\"namedBy\":[],"
                + "\"vendorFunctions\":true,\"readers\":[{\"slot\":7,\"name\":\"Scripted Reader 0\","
                + "\"manufacturer\":\"Scripted Works\",\"tokenPresent\":true,\"state\":\"PIN ready\","
                + "\"label\":\"Scripted Token\",\"model\":\"Scripted Model\",\"serialNumber\":\"0123456789abcdef\","
                + "\"flags\":[\"RNG\",\"LOGIN_REQUIRED\",\"USER_PIN_INITIALIZED\",\"TOKEN_INITIALIZED\"]}]}],"
                + "\"pcsc\":{\"readers\":["), result::toString);
        assertEquals(1, result.out.lines().count());
    }

    @Test
    void aModuleThatCrashesIsTold() {
        Result result = run("readers", "-m", System.getProperty("vornix.crashing.module"));

        assertTrue(result.out.contains("\nIt cannot be used: it crashes the process that loads it (SIGSEGV)\n"),
                result::toString);
        assertEquals(1, result.status);
    }

    @Test
    void theServiceAndTheLibraryOfTheNativeMethodsMayBeMissing() throws Exception {
        Result result = new ChildJvm().environment("PCSCLITE_CSOCK_NAME", "/nonexistent/pcscd.comm")
                .options("-Dvornixtoken.library=/nonexistent/natives.so", "-Dvornixtoken.sessionLibrary="
                        + System.getProperty("java.library.path") + "/libvornixtoken_session.so")
                .tool("readers", "-m", module);

        assertTrue(result.out.endsWith("\nPC/SC readers\nNone can be listed: no PC/SC service runs here, "
                + "for there is no socket /nonexistent/pcscd.comm (SCARD_E_NO_SERVICE)\n"), result::toString);
        assertEquals(0, result.status);
    }

    @Test
    void withoutAModuleThoseOfTheMachineAreTried(@TempDir Path folder) throws Exception {
        Path entry = Files.createDirectories(folder.resolve("pkcs11/modules")).resolve("mine.module");
        Files.write(entry, Arrays.asList("# mine", "module: " + module));
        // The machine's own modules shall find neither a token nor a service.
        Result result = new ChildJvm().environment("PCSCLITE_CSOCK_NAME", "/nonexistent/pcscd.comm")
                .environment("SOFTHSM2_CONF", "/nonexistent").environment("XDG_CONFIG_HOME", folder.toString())
                .environment("XDG_DATA_HOME", folder.toString()).tool("readers");

        assertTrue(result.out.startsWith("Module " + module + " (p11-kit, " + entry + ")\n"
                + "SLOT  READER             "), result::toString);
        assertEquals(0, result.status);
    }

    @Test
    @Tag("softtoken")
    void noFolderIsMadeForTheSoftwareToken(@TempDir Path folder) throws Exception {
        Path kept = folder.resolve("kept");
        Result result = new ChildJvm().environment("VORNIX_SOFTTOKEN_DIR", kept.toString())
                .tool("readers", "-m", System.getProperty("vornix.softtoken"));

        assertTrue(result.out.contains("\nIts first use will make the folder " + kept + ".\n"), result::toString);
        assertTrue(result.out.contains("\n1     Vornix Soft Reader 00 00  "), result::toString);
        assertTrue(result.out.contains("  blank\n"), result::toString);
        assertFalse(Files.exists(kept));
    }
}
