// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.ScriptedToken;
import jvm.support.Threads;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.util.List;
import java.util.Random;
import java.util.stream.Collectors;

class ConcurrencyTest extends ScriptedToken {
    @Test
    void jobsOfManyThreadsFollowOneAnother() {
        List<String> sessions = Transcript.during(() -> Threads.run(8, 50, () -> {
            try (Pin pin = Pin.of(PIN.clone())) {
                assertEquals(6, new Token(module, READER).listObjects(pin).size());
            }
        })).stream().filter(call -> call.matches("C_(Initialize|Finalize|OpenSession|CloseSession).*")).collect(Collectors.toList());

        assertEquals(1 + 2 * 8 * 50, sessions.size());
        assertEquals("C_Initialize(set): CKR_OK", sessions.get(0));
        for (int i = 1; i < sessions.size(); i++) {
            assertTrue(sessions.get(i).startsWith(i % 2 == 1 ? "C_OpenSession(" : "C_CloseSession("), sessions.get(i));
        }
    }

    @Test
    @Tag("large")
    void resultsAreWholeWhileTheCollectorIsBusy() throws Exception {
        byte[] value = new byte[1 << 16];
        new Random(2).nextBytes(value);
        Token token = new Token(module, READER);
        try (Pin pin = Pin.of(PIN.clone())) {
            token.importCertificate(pin, "large", NONE, value);
            Thread collector = new Thread(() -> {
                while (!Thread.currentThread().isInterrupted()) {
                    System.gc();
                }
            });
            collector.start();
            try {
                for (int i = 0; i < 5; i++) {
                    assertArrayEquals(value, token.readCertificateBytes(pin, "large", NONE));
                }
            } finally {
                collector.interrupt();
                collector.join();
            }
        }
    }
}
