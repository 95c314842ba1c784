// SPDX-License-Identifier: Apache-2.0
package recipes;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.Pin;

import jvm.programs.PinHunt;
import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.Threads;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.net.http.HttpResponse;
import java.time.Duration;

@Tag("softtoken")
class SigningServiceTest extends IssuedToken {
    private static final byte[] DOCUMENT = {1, 2, 3};

    @Test
    void clientsAreServedSideBySide() throws Exception {
        try (SigningService service = service()) {
            Threads.run(8, 3, () -> assertSigned(service));

            assertEquals(405, Post.send(service, "PUT", DOCUMENT).statusCode());
            assertEquals(413, Post.send(service, new byte[(10 << 20) + 1]).statusCode());
        }
    }

    @Test
    void noCopyOfAPinIsLeftOnceItIsNotNeeded() throws Exception {
        try (Pin pin = pin(); Pin secret = Pin.of(PinHunt.secret())) {
            token().changePin(pin, secret);
        }

        // A young generation that is never full: the collector makes copies that nobody can wipe.
        Result result = new ChildJvm().options("-Xms128m", "-Xmx128m", "-Xmn96m", "-Djava.awt.headless=true")
                .run(RecipePins.class, MODULE, READER);

        try (Pin pin = pin(); Pin secret = Pin.of(PinHunt.secret())) {
            token().changePin(secret, pin);
        }
        assertEquals("1 copy in the service\n0 copies after the service\n0 copies after the prompt\n", result.out,
                result::toString);
    }

    private static SigningService service() throws Exception {
        return new SigningService(MODULE, READER, pin(), BatchIssuing.ID, 0, Duration.ofMinutes(2));
    }

    private static void assertSigned(SigningService service) throws Exception {
        HttpResponse<byte[]> answer = Post.send(service, DOCUMENT);
        assertEquals(200, answer.statusCode());
        VerifyWithJdk.verify(answer.body(), DOCUMENT, authority());
    }
}
