// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import org.junit.jupiter.api.Test;

import java.io.IOException;
import java.io.PrintWriter;
import java.io.StringWriter;

class ProgressTest {
    private final StringWriter screen = new StringWriter();

    @Test
    void aLongJobIsShownAndItsTraceErased() throws Exception {
        String result = Progress.on(new PrintWriter(screen), "waiting", () -> {
            while (screen.getBuffer().indexOf("\r/ waiting, ") < 0) {
                Thread.sleep(10);
            }
            return "done";
        });

        assertEquals("done", result);
        assertTrue(screen.toString().startsWith("\r| waiting, 1 s\r/ waiting, 1 s"), screen::toString);
        assertTrue(screen.toString().matches("(?s).* s\r +\r"), screen::toString);
    }

    @Test
    void aFailureGoesOn() {
        assertThrows(IOException.class, () -> Progress.on(new PrintWriter(screen), "failing", () -> {
            throw new IOException("failed");
        }));
    }
}
