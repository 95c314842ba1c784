// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertEquals;

import examples.NativeMethods;

import jvm.support.Examples;
import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Test;

import recipes.Post;
import recipes.SigningService;

import java.time.Duration;
import java.util.concurrent.Semaphore;

/** What the signing service does when it cannot sign. */
class SigningServiceRefusalTest extends ScriptedToken {
    private static final long SLOT = 7;
    private static final ObjectId ID = ObjectId.of((byte) 1);

    @Test
    void aWrongPinIsSentOnce() {
        Transcript.line("C_Login", () -> {
            try (SigningService service = service(WRONG_PIN, Duration.ofMinutes(1))) {
                for (int i = 0; i < 3; i++) {
                    assertEquals(500, status(service));
                }
            } catch (Exception failure) {
                throw new AssertionError(failure);
            }
        });
    }

    @Test
    void whoWaitsForTooLongIsToldToComeLater() throws Exception {
        try (SigningService service = service(PIN, Duration.ofMillis(50))) {
            assertEquals(200, status(service));
            Semaphore lock = LoadedModule.of(module, new Attempt(Attempt.Manner.DEFAULT)).shared
                    .lock(SLOT);
            lock.acquire();
            assertEquals(503, status(service));
            lock.release();
            assertEquals(200, status(service));
        }
    }

    @Test
    void aSessionThatHasEndedIsOpenedAnew() throws Exception {
        try (SigningService service = service(PIN, Duration.ofMinutes(1))) {
            assertEquals(200, status(service));
            // The natives finalise the module, which ends every session on it.
            assertEquals("code 6\n", Examples.output(NativeMethods::main, module, READER, "nobody"));

            assertEquals(200, status(service));
        }
    }

    private SigningService service(byte[] pin, Duration patience) throws Exception {
        return new SigningService(module, READER, Pin.of(pin.clone()), ID, 0, patience);
    }

    private static int status(SigningService service) throws Exception {
        return Post.send(service, new byte[] {1}).statusCode();
    }
}
