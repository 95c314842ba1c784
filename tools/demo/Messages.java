// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Set;

/** Signed messages. */
final class Messages {
    private static final byte[] CONTENT = "I owe you ten pounds.".getBytes(StandardCharsets.US_ASCII);
    private static final byte[] FORGED = Bytes.tampered(CONTENT, "ten".getBytes(StandardCharsets.US_ASCII));
    private static final byte[] NOTHING = {};
    private static final long ENCLOSED = 0;
    private static final long DETACHED = 1;
    private static final int SIGNATURE_INVALID = 0xC0;
    private static final int DATA_INVALID = 0x20;

    private final Report report;
    private final Target token;
    private final CertificateAuthority authority;

    Messages(Report report, Target token, CertificateAuthority authority) {
        this.report = report;
        this.token = token;
        this.authority = authority;
    }

    void encloseAndSign(Holder holder) throws IOException {
        report.begin("Message of " + holder.name + " that encloses its content");
        byte[] message = sign(holder, ENCLOSED, Certificates.AUTHORITY_ID);
        report.check("it carries the certificates of " + holder.name + " and of the authority",
                certificatesOf(message).equals(Set.of(holder.certificate, authority.certificate)));

        verify(0, message, NOTHING);
        report.checked("the module finds the signature good");
        Judge judge = holder.judge;
        report.check("so does " + judge.name() + ", and takes the content out", judge.accepts(message, null)
                && Arrays.equals(judge.content(), CONTENT));

        byte[] tampered = Bytes.tampered(message, CONTENT);
        verify(SIGNATURE_INVALID, tampered, NOTHING);
        report.checked("the module refuses the message with one bit changed");
        report.check("so does " + judge.name(), !judge.accepts(tampered, null));
    }

    void signDetached(Holder holder) throws IOException {
        report.begin("Signature of " + holder.name + " that is detached from its content");
        byte[] message = sign(holder, DETACHED);
        report.check("the content is not in it", !Bytes.contains(message, CONTENT));
        report.check("it carries the certificate of " + holder.name,
                certificatesOf(message).equals(Set.of(holder.certificate)));

        verify(0, message, CONTENT);
        report.checked("the module finds the signature good for the content");
        Judge judge = holder.judge;
        report.check("so does " + judge.name(), judge.accepts(message, CONTENT));

        verify(SIGNATURE_INVALID, message, FORGED);
        report.checked("the module refuses it for the content with one bit changed");
        report.check("so does " + judge.name(), !judge.accepts(message, FORGED));

        verify(DATA_INVALID, CONTENT, message);
        report.checked("what is no message is refused as such");
    }

    private byte[] sign(Holder holder, long flags, byte[]... furtherCertificates) {
        ArrayList<Byte> delivered = new ArrayList<>();
        report.expect("pkcs7Sign", Pkcs11Wrapper.pkcs7Sign(token.reader, token.module, token.pin, CONTENT, holder.id,
                holder.id, furtherCertificates, flags, delivered));
        report.show("length", delivered.size() + " bytes");
        return Bytes.of(delivered);
    }

    private void verify(long expected, byte[] message, byte[] content) {
        report.expect("pkcs7Verify", expected, Pkcs11Wrapper.pkcs7Verify(token.module, message, content));
    }

    private static Set<X509Certificate> certificatesOf(byte[] message) {
        try {
            List<X509Certificate> certificates = new ArrayList<>();
            CertificateFactory.getInstance("X.509").generateCertificates(new ByteArrayInputStream(message))
                    .forEach(certificate -> certificates.add((X509Certificate) certificate));
            return Set.copyOf(certificates);
        } catch (CertificateException failure) {
            throw new Surprise("the JDK reads no PKCS #7 message: " + failure.getMessage());
        }
    }
}
