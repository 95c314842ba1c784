// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.run;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.SoftHsm;
import jvm.support.Transcript;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;

/** The tool's doctor: what it finds, and what it advises. */
class ToolDoctorTest extends ScriptedToken {
    @Test
    void aGoodModuleIsGood() {
        List<String> calls = Transcript.during(() -> {
            Result result = run("doctor", "-m", module, "-t", "Scripted");

            assertTrue(result.out.startsWith("ok       Java: " + System.getProperty("java.version") + " of "),
                    result::toString);
            assertFalse(result.out.contains("it warns of native libraries"), result::toString);
            assertTrue(result.out.contains("\nok       library: libvornixtoken_session.so in /"), result::toString);
            assertTrue(result.out.contains("\nok       library: libVornixToken_Javalib.so in /"), result::toString);
            assertTrue(result.out.contains("\nok       module " + module + ": it works, and has the vendor functions\n"
                    + "ok       module " + module + ": reader 'Scripted Reader 0' (slot 7) with token 'Scripted Token' "
                    + "(Scripted Model, 0123456789abcdef): PIN ready\n"
                    + "ok       name 'Scripted': it chooses reader 'Scripted Reader 0' (slot 7) of " + module + "\n"),
                    result::toString);
            assertEquals(0, result.status);
        });

        assertTrue(calls.stream().noneMatch(call -> call.startsWith("C_OpenSession")), calls::toString);
    }

    @Test
    void anotherNameIsAProblem() {
        Result result = run("doctor", "-m", module, "-t", "none such", "--json");

        assertTrue(result.out.startsWith("{\"ok\":false,\"findings\":[{\"level\":\"ok\",\"subject\":\"Java\",\"message\":\""),
                result::toString);
        assertTrue(result.out.contains("{\"level\":\"problem\",\"subject\":\"name 'none such'\",\"message\":\""
                + "no such reader. There are: 'Scripted Reader 0'"), result::toString);
        assertEquals(1, result.out.lines().count());
        assertEquals(1, result.status);
    }

    @ParameterizedTest
    @MethodSource
    void aBadModuleIsAProblemWithARemedy(String bad, String finding, String remedy, @TempDir Path folder) throws Exception {
        if (bad.equals("other machine")) {
            byte[] header = Files.readAllBytes(Path.of(module));
            header[18] = (byte) (header[18] ^ 0x7f);
            bad = Files.write(folder.resolve("other.so"), header).toString();
        }
        Result result = run("doctor", "-m", bad);

        assertTrue(result.out.contains("\nproblem  module " + bad + ": " + finding), result::toString);
        assertTrue(result.out.contains("\n         -> " + remedy), result::toString);
        assertEquals(1, result.status);
    }

    static Stream<Arguments> aBadModuleIsAProblemWithARemedy() {
        return Stream.of(
                Arguments.of("/nonexistent/module.so", "CKR_GENERAL_ERROR (0x5) from dlopen: ", "check the path; "),
                Arguments.of("/tmp", "it is a folder\n", "name the PKCS #11 module of the token's maker"),
                Arguments.of("other machine", "it is for machine ", "install the module for "),
                Arguments.of(System.getProperty("vornix.unresolved.module"), "CKR_GENERAL_ERROR (0x5) from dlopen: ",
                        "install what the loader misses; "),
                Arguments.of(System.getProperty("vornix.crashing.module"),
                        "it crashes the process that loads it (SIGSEGV)\n", "it is the module's fault"),
                Arguments.of(System.getProperty("vornix.hanging.module"), "it does not answer within 10 s\n",
                        "it is the module's fault"));
    }

    @Test
    void aModuleWithoutVendorFunctionsIsToldAndSoIsItsBlankSlot() throws Exception {
        String reader = SoftHsm.newToken();

        Result result = run("doctor", "-m", SoftHsm.MODULE, "-t", reader);

        assertTrue(result.out.contains(": it works, but lacks the vendor functions: "), result::toString);
        assertTrue(result.out.contains("with token 'jvm' (SoftHSM v2, "), result::toString);
        assertTrue(result.out.contains(": blank\n         -> \"vornixtoken-tool init\" initialises it\n"), result::toString);
        assertEquals(0, result.status);
    }

    @Test
    void aMissingLibraryIsAProblemWithEveryPlaceThatWasTried() throws Exception {
        Result result = new ChildJvm("/nonexistent").options("-Dvornixtoken.sessionLibrary=/nonexistent/session.so")
                .tool("doctor", "-m", module);

        assertTrue(result.out.contains("\nproblem  library: libvornixtoken_session.so cannot be loaded. Tried: - "
                + "system property vornixtoken.sessionLibrary: "), result::toString);
        assertEquals(1, result.status);
    }
}
