// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.programs.NativeCalls;
import jvm.support.ChildJvm;
import jvm.support.Result;

import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

import java.util.stream.Stream;

/** The natives write to the standard output of the process, which only another process can see. */
class DiagnosticsTest {
    @ParameterizedTest(name = "{0}")
    @MethodSource
    void everyCallWritesItsLinesToStandardOutput(String call, String output) throws Exception {
        Result child = new ChildJvm()
                .environment("PCSCLITE_CSOCK_NAME", "/nonexistent/pcscd.comm") // no service, whatever this machine runs
                .run(NativeCalls.class, call);

        assertEquals(output, child.out);
        assertEquals(0, child.status, child::toString);
    }

    static Stream<Arguments> everyCallWritesItsLinesToStandardOutput() {
        return Stream.of(
                Arguments.of("success", "result 0\n"),
                Arguments.of("module that cannot be loaded",
                        "Error while load ./absent.so: "
                                + "./absent.so: cannot open shared object file: No such file or directory\n"
                                + "Library not loaded\n"
                                + "Failed to Initialize P11Wrapper\n"
                                + "result 1\n"),
                Arguments.of("unknown reader", "Terminal not found\nresult 6\n"),
                Arguments.of("wrong PIN", "Login failed. Code: 160\nresult 160\n"),
                Arguments.of("wrong PUK at initialisation", "C_InitToken failed. Code: 160\nresult 160\n"),
                Arguments.of("missing certificate", "C_FindObjects object not found. Code: 0\nresult 6\n"),
                Arguments.of("missing further certificate",
                        "C_FindObjects object not found #3, Step: 1. Code: 0\nresult 6\n"),
                Arguments.of("refused signature", "result 192\n"),
                Arguments.of("reset without a PC/SC service",
                        "Failed to establish context: 2148532253\nresult 0\n"));
    }
}
