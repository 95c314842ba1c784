// SPDX-License-Identifier: Apache-2.0
package recipes;

import examples.Usage;

import java.io.IOException;
import java.io.InputStream;
import java.math.BigInteger;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.security.SignatureException;
import java.security.cert.CertificateFactory;
import java.security.cert.TrustAnchor;
import java.security.cert.X509Certificate;
import java.time.Duration;
import java.util.List;
import java.util.Set;

/**
 * Has an authority confirm when a message was signed (RFC 3161), and puts the confirmation into the message as an unsigned
 * attribute (CAdES-T). Use it where signatures must outlive their certificates; it works on every message with one
 * signer, those with signed attributes too, and needs no token. The JDK has no public class for timestamps beside the
 * signing of jars, so request and answer are written out here.
 */
public final class AddTimestamp {
    private static final Der SHA_256 = Der.identifier("2.16.840.1.101.3.4.2.1");
    private static final Der TIMESTAMP = Der.identifier("1.2.840.113549.1.9.16.2.14");
    private static final String TIMESTAMPING = "1.3.6.1.5.5.7.3.8";
    private static final Der YES = Der.of(0x01, (byte) 0xff);
    private static final int GRANTED_WITH_CHANGES = 1;
    private static final Duration PATIENCE = Duration.ofSeconds(30);
    private static final int[] TO_SIGNER = {1, 0, Der.LAST, 0};

    private AddTimestamp() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(AddTimestamp.class, arguments, "MESSAGE URL AUTHORITY STAMPED");
        X509Certificate authority;
        try (InputStream file = Files.newInputStream(Paths.get(arguments[2]))) {
            authority = (X509Certificate) CertificateFactory.getInstance("X.509").generateCertificate(file);
        }
        Files.write(Paths.get(arguments[3]), stamp(Files.readAllBytes(Paths.get(arguments[0])),
                URI.create(arguments[1]), Set.of(new TrustAnchor(authority, null))));
    }

    /** Returns the message with a timestamp that was judged good. */
    static byte[] stamp(byte[] encoded, URI url, Set<TrustAnchor> trusted)
            throws GeneralSecurityException, IOException, InterruptedException {
        Der message = Der.parse(encoded);
        Der signer = message.at(TO_SIGNER);
        boolean hasAttributes = signer.at(3).tag == Der.bracket(0);
        if (signer.children().size() != (hasAttributes ? 6 : 5)) {
            throw new GeneralSecurityException("the message has unsigned attributes already");
        }
        byte[] signature = signer.at(Der.LAST).content;
        Der stamp = request(url, MessageDigest.getInstance("SHA-256").digest(signature), trusted);

        Der[] parts = signer.children().toArray(new Der[signer.children().size() + 1]);
        parts[parts.length - 1] = Der.of(Der.bracket(1),
                Der.of(Der.SEQUENCE, TIMESTAMP, Der.of(Der.SET, stamp)));
        return message.with(Der.of(Der.SEQUENCE, parts), TO_SIGNER).encode();
    }

    private static Der request(URI url, byte[] hash, Set<TrustAnchor> trusted)
            throws GeneralSecurityException, IOException, InterruptedException {
        Der imprint = Der.of(Der.SEQUENCE, Der.of(Der.SEQUENCE, SHA_256), Der.of(Der.OCTETS, hash));
        Der nonce = Der.integer(new BigInteger(64, new SecureRandom()));
        Der query = Der.of(Der.SEQUENCE, Der.integer(BigInteger.ONE), imprint, nonce, YES);

        HttpResponse<byte[]> answer = HttpClient.newHttpClient().send(HttpRequest.newBuilder(url).timeout(PATIENCE)
                .header("Content-Type", "application/timestamp-query")
                .POST(HttpRequest.BodyPublishers.ofByteArray(query.encode())).build(),
                HttpResponse.BodyHandlers.ofByteArray());
        if (answer.statusCode() != 200) {
            throw new IOException("the authority answered with status " + answer.statusCode());
        }
        try {
            return judged(Der.parse(answer.body()), imprint, nonce, trusted);
        } catch (IllegalArgumentException malformed) {
            throw new SignatureException("the authority's answer makes no sense", malformed);
        }
    }

    /** Returns the timestamp in an answer if it is for this request and from a trusted authority. */
    private static Der judged(Der answer, Der imprint, Der nonce, Set<TrustAnchor> trusted)
            throws GeneralSecurityException {
        if (new BigInteger(answer.at(0, 0).content).intValue() > GRANTED_WITH_CHANGES) {
            throw new SignatureException("the authority gave no timestamp");
        }
        Der stamp = answer.at(1);
        X509Certificate signer = VerifyWithJdk.verify(stamp.encode(), null, trusted);
        List<String> usage = signer.getExtendedKeyUsage();
        if (usage == null || !usage.contains(TIMESTAMPING)) {
            throw new SignatureException("the timestamp's signer is no timestamping authority");
        }
        List<Der> told = Der.parse(VerifyWithJdk.enclosed(stamp)).children();
        if (!sameImprint(told.get(2), imprint) || !told.contains(nonce)) {
            throw new SignatureException("the timestamp is for something else");
        }
        return stamp;
    }

    /** Some write parameters behind the algorithm, NULL, and some do not. */
    private static boolean sameImprint(Der one, Der other) {
        return one.at(0, 0).equals(other.at(0, 0)) && one.at(1).equals(other.at(1));
    }
}
