// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;

import org.junit.jupiter.api.Test;

/** Where the tool, as a process, says what: results on standard output, and nothing else there. */
class ToolDiagnosticsTest extends ScriptedToken {
    private static final String LINE = "Login failed. Code: 160\n";

    @Test
    void standardOutputHoldsTheJsonAlone() throws Exception {
        Result result = withWrongPin("list", "--json");

        assertTrue(result.out.startsWith("{\"ok\":false,\"code\":160,\"name\":\"CKR_PIN_INCORRECT\",\"message\":\""),
                result::toString);
        assertTrue(result.out.endsWith(",\"reason\":\"WRONG_PIN\",\"step\":\"C_Login\"}\n"), result::toString);
        assertEquals(1, result.out.lines().count());
        assertEquals("", result.err);
        assertEquals(1, result.status);
    }

    @Test
    void theLibrarysLinesComeOnStandardErrorWhenAskedFor() throws Exception {
        Result silent = withWrongPin("list");
        Result verbose = withWrongPin("list", "--verbose");

        assertEquals("", verbose.out);
        assertEquals(LINE + silent.err, verbose.err);
    }

    @Test
    void aRefusalWithoutATokenHasItsLinesToo() throws Exception {
        Result result = tool("verify", "--verbose", "-m", "/nonexistent/module.so", "/dev/null");

        assertTrue(result.err.startsWith("Error while load /nonexistent/module.so: /nonexistent/module.so: cannot open "),
                result::toString);
        assertEquals(1, result.status);
    }

    @Test
    void aResetThatFailsIsAFailure() throws Exception {
        Result result = tool("reset-terminal", "-t", "Reader of no such name");

        assertEquals("", result.out);
        assertTrue(result.err.contains("SCARD_E_NO_SERVICE (0x8010001D) from SCardEstablishContext\n"
                + "no PC/SC service runs here, for there is no socket /nonexistent/pcscd.comm (SCARD_E_NO_SERVICE): for a reader"),
                result::toString);
        assertEquals(1, result.status);
    }

    private Result withWrongPin(String... arguments) throws Exception {
        return new ChildJvm().environment("VORNIX_USER_PIN", "00000000").toolOn(module, READER, arguments);
    }

    private static Result tool(String... arguments) throws Exception {
        return new ChildJvm().environment("PCSCLITE_CSOCK_NAME", "/nonexistent/pcscd.comm") // no service, whatever runs
                .tool(arguments);
    }
}
