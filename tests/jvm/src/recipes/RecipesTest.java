// SPDX-License-Identifier: Apache-2.0
package recipes;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.TokenSession;

import jvm.support.Processes;
import jvm.support.TimestampAuthority;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.security.GeneralSecurityException;
import java.security.SignatureException;
import java.security.cert.CertPathBuilderException;
import java.security.cert.TrustAnchor;
import java.time.Instant;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Optional;
import java.util.function.UnaryOperator;

/** The recipes around messages and cards, judged by OpenSSL where it can. */
@Tag("softtoken")
class RecipesTest extends IssuedToken {
    private static final byte[] CONTENT = "I owe you \u00a31".getBytes(StandardCharsets.UTF_8);
    private static final byte[] OTHER = {1};
    private static final Instant THEN = Instant.parse("2024-02-29T23:59:58Z");

    @Test
    void aBatchGoesOnAfterAFailure() throws Exception {
        assertEquals(2, REPORT.size());
        assertEquals("CN=Mallory: FAILED, not on my list", REPORT.get(0));
        assertTrue(REPORT.get(1).matches(ALICE + ": issued, card \\p{XDigit}{16}, certificate \\p{XDigit}+"), REPORT.get(1));
        try (Pin pin = pin()) {
            assertEquals(ALICE, token().readCertificate(pin, ALICE).getSubjectX500Principal().getName());
        }
    }

    @Test
    void theJdkJudgesMessages() throws Exception {
        byte[] detached = sign(SignatureMode.DETACHED);
        byte[] enclosed = sign(SignatureMode.ENCLOSED);

        assertEquals(ALICE, VerifyWithJdk.verify(detached, CONTENT, authority()).getSubjectX500Principal().getName());
        VerifyWithJdk.verify(enclosed, null, authority());
        VerifyWithJdk.verify(enclosed, CONTENT, authority());

        assertRefused("the signature is bad", detached, OTHER);
        assertRefused("another content", enclosed, OTHER);
        assertRefused("the content is missing", detached, null);
        assertRefused("not a message", OTHER, null);
        enclosed[enclosed.length - 1] ^= 1;
        assertRefused("the signature is bad", enclosed, null);
    }

    @Test
    void aMessageThatIsCutOffIsRefused() throws Exception {
        byte[] message = sign(SignatureMode.ENCLOSED);

        for (int length = 0; length < message.length; length += 7) {
            byte[] cut = Arrays.copyOf(message, length);
            assertThrows(GeneralSecurityException.class, () -> VerifyWithJdk.verify(cut, CONTENT, authority()));
        }
    }

    @Test
    void aNamesakeOfTheAuthorityIsNotTrusted() throws Exception {
        byte[] message = sign(SignatureMode.ENCLOSED);

        try (Pin pin = pin()) {
            TrustAnchor namesake = new TrustAnchor("CN=Authority", token().readPublicKey(pin, ALICE), null);
            assertThrows(CertPathBuilderException.class,
                    () -> VerifyWithJdk.verify(message, null, Collections.singleton(namesake)));
        }
    }

    @Test
    void attributesAreSigned() throws Exception {
        byte[] message = withAttributes();

        String told = Processes.run("openssl", "cms", "-verify", "-cades", "-binary", "-inform", "DER",
                "-in", write("message", message), "-content", write("content", CONTENT),
                "-CAfile", folder.resolve("ca.pem").toString(), "-out", folder.resolve("verified").toString());
        assertTrue(told.contains("CAdES Verification successful"), told);
        String printed = Processes.run("openssl", "cms", "-cmsout", "-print", "-inform", "DER",
                "-in", write("message", message));
        assertTrue(printed.contains("UTCTIME:Feb 29 23:59:58 2024 GMT"), printed);

        List<Der> attributes = Der.parse(message).at(1, 0, Der.LAST, 0, 3).children();
        for (int i = 1; i < attributes.size(); i++) {
            assertTrue(Arrays.compareUnsigned(attributes.get(i - 1).encode(), attributes.get(i).encode()) < 0, "unsorted");
        }

        VerifyWithJdk.verify(message, CONTENT, authority());
        assertRefused("the signed attributes belong to another content", message, OTHER);
    }

    @Test
    void aTimestampIsAdded() throws Exception {
        byte[] message = withAttributes();
        byte[] stamped;
        try (TimestampAuthority clock = new TimestampAuthority(folder)) {
            stamped = AddTimestamp.stamp(message, clock.url(), authority());
        }

        VerifyWithJdk.verify(stamped, CONTENT, authority());
        Der signer = Der.parse(stamped).at(1, 0, Der.LAST, 0);
        Processes.run("openssl", "ts", "-verify", "-data", write("signature", signer.at(5).content),
                "-in", write("stamp", signer.at(6, 0, 1, 0).encode()), "-token_in",
                "-CAfile", folder.resolve("ca.pem").toString());
        assertThrows(GeneralSecurityException.class, () -> AddTimestamp.stamp(stamped, null, authority()));
    }

    @Test
    void aTimestampForAnotherSignatureIsRefused() throws Exception {
        byte[] message = sign(SignatureMode.DETACHED);
        UnaryOperator<byte[]> another = query -> {
            query[query.length - 20] ^= 1;
            return query;
        };
        try (TimestampAuthority clock = new TimestampAuthority(folder, another)) {
            assertThrows(SignatureException.class, () -> AddTimestamp.stamp(message, clock.url(), authority()));
        }
    }

    @Test
    void aPersonIsAskedUntilThePinIsRight() throws Exception {
        StringBuilder asked = new StringBuilder();
        char[][] typed = {"87654321".toCharArray(), PIN.toCharArray()};
        int[] next = {0};

        Optional<TokenSession> session = DesktopPrompt.open(token(), question -> {
            asked.append(question).append('\n');
            return typed[next[0]++];
        });

        assertEquals(3, session.get().listObjects().size());
        session.get().close();
        assertTrue(asked.toString().matches("PIN of VORNIX Token \\(\\p{XDigit}{16}\\):\n"
                + "The PIN was wrong\\. .*PIN of VORNIX Token \\(\\p{XDigit}{16}\\):\n"), asked::toString);
        assertArrayEquals(new char[8], typed[0]);
        assertArrayEquals(new char[8], typed[1]);
        assertFalse(DesktopPrompt.open(token(), question -> null).isPresent());
    }

    private static byte[] sign(SignatureMode mode) throws GeneralSecurityException {
        try (Pin pin = pin(); TokenSession session = token().open(pin)) {
            return session.sign(CONTENT, BatchIssuing.ID, mode);
        }
    }

    private static byte[] withAttributes() throws GeneralSecurityException {
        try (Pin pin = pin(); TokenSession session = token().open(pin)) {
            return SignedAttributes.sign(session, CONTENT, BatchIssuing.ID, THEN);
        }
    }

    private static void assertRefused(String why, byte[] message, byte[] content) {
        SignatureException refused = assertThrows(SignatureException.class,
                () -> VerifyWithJdk.verify(message, content, authority()));
        assertTrue(refused.getMessage().contains(why), refused::toString);
    }
}
