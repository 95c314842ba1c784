// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenSession;

import examples.Usage;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.time.Instant;
import java.time.ZoneOffset;
import java.time.format.DateTimeFormatter;
import java.util.Arrays;

/**
 * Makes a detached message that also signs when it was made and by which certificate (CAdES-BES). Use it where a verifier
 * demands signed attributes and the token's module writes none. The token signs the set of attributes, which is all that
 * RFC 5652 asks of the key; the set is then put into the message, and only the JDK is needed for that.
 */
public final class SignedAttributes {
    private static final int UTC_TIME = 0x17;
    private static final Der DATA = Der.identifier("1.2.840.113549.1.7.1");
    private static final Der SHA_256 = Der.identifier("2.16.840.1.101.3.4.2.1");
    private static final Der CONTENT_TYPE = Der.identifier("1.2.840.113549.1.9.3");
    private static final Der MESSAGE_DIGEST = Der.identifier("1.2.840.113549.1.9.4");
    private static final Der SIGNING_TIME = Der.identifier("1.2.840.113549.1.9.5");
    private static final Der SIGNING_CERTIFICATE = Der.identifier("1.2.840.113549.1.9.16.2.47");
    /** Until 2049 a signing time is written with two digits for the year. */
    private static final DateTimeFormatter TIME =
            DateTimeFormatter.ofPattern("yyMMddHHmmss'Z'").withZone(ZoneOffset.UTC);
    private static final int[] TO_SIGNER = {1, 0, Der.LAST, 0};

    private SignedAttributes() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(SignedAttributes.class, arguments, "MODULE READER ID CONTENT MESSAGE");
        Token token = new Token(arguments[0], arguments[1]);
        ObjectId id = ObjectId.parse(arguments[2]);
        byte[] content = Files.readAllBytes(Paths.get(arguments[3]));
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
                TokenSession session = token.open(pin)) {
            Files.write(Paths.get(arguments[4]), sign(session, content, id, Instant.now()));
        }
    }

    /** Returns a detached message about the content, with signed attributes. */
    static byte[] sign(TokenSession session, byte[] content, ObjectId id, Instant time)
            throws GeneralSecurityException {
        Der attributes = set(
                attribute(CONTENT_TYPE, DATA),
                attribute(MESSAGE_DIGEST, Der.of(Der.OCTETS, sha256(content))),
                attribute(SIGNING_TIME, Der.of(UTC_TIME, TIME.format(time).getBytes(StandardCharsets.US_ASCII))),
                attribute(SIGNING_CERTIFICATE, reference(certificate(session, id))));

        Der message = Der.parse(session.sign(attributes.encode(), id, SignatureMode.DETACHED));
        Der signer = message.at(TO_SIGNER);
        if (signer.children().size() != 5 || !signer.at(2, 0).equals(SHA_256)) {
            throw new GeneralSecurityException("the module signs attributes of its own, or by another digest");
        }
        Der complete = Der.of(Der.SEQUENCE, signer.at(0), signer.at(1), signer.at(2),
                Der.of(Der.bracket(0), attributes.content), signer.at(3), signer.at(4));
        return message.with(complete, TO_SIGNER).encode();
    }

    private static byte[] certificate(TokenSession session, ObjectId id) throws GeneralSecurityException {
        return session.listCertificates().stream()
                .filter(each -> Arrays.equals(each.getId(), id.getBytes()))
                .map(TokenCertificate::getEncoded).findFirst()
                .orElseThrow(() -> new GeneralSecurityException("no certificate has the ID " + id));
    }

    /** The certificate's digest, in the three sequences of RFC 5035; SHA-256 goes without saying. */
    private static Der reference(byte[] certificate) throws GeneralSecurityException {
        return Der.of(Der.SEQUENCE, Der.of(Der.SEQUENCE, Der.of(Der.SEQUENCE,
                Der.of(Der.OCTETS, sha256(certificate)))));
    }

    private static Der attribute(Der type, Der value) {
        return Der.of(Der.SEQUENCE, type, Der.of(Der.SET, value));
    }

    /** DER sorts a set by its encoded elements. */
    private static Der set(Der... elements) {
        Arrays.sort(elements, (one, other) -> Arrays.compareUnsigned(one.encode(), other.encode()));
        return Der.of(Der.SET, elements);
    }

    private static byte[] sha256(byte[] bytes) throws GeneralSecurityException {
        return MessageDigest.getInstance("SHA-256").digest(bytes);
    }
}
