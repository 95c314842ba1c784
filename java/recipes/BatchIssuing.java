// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.tovr.smartcard.vornixtoken.KeyUsage;
import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.PcscReader;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import examples.Usage;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.nio.charset.StandardCharsets;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.time.Duration;
import java.util.Arrays;
import java.util.List;
import java.util.function.Consumer;

import javax.security.auth.x500.X500Principal;

/**
 * Issues one card after another: initialises it, generates a key pair, has an authority certify it, stores the certificate
 * and makes a test signature. Use it where a person puts blank cards into a reader and a list says whose they will be; a
 * card that fails is reported, and the next person's turn comes. Everything on a card that is put in is destroyed.
 */
public final class BatchIssuing {
    /** Each card has one pair, so all may have the same ID. */
    static final ObjectId ID = ObjectId.of((byte) 1);
    private static final int MODULUS_BITS = 2048;

    /** Makes a certificate of a request, both DER. */
    public interface Authority {
        byte[] certify(byte[] request) throws Exception;
    }

    /** Where the cards come from. */
    public interface Cards {
        /** Waits for the next card and returns its token. */
        Token next(String person) throws Exception;
    }

    private BatchIssuing() {
    }

    /** The authority is a command that reads a request and writes a certificate; the persons are names as X.500 has them. */
    public static void main(String[] arguments) throws Exception {
        Usage.check(BatchIssuing.class, arguments, "MODULE READER COMMAND PERSON");
        Cards cards = person -> {
            awaitCard(arguments[1], false);
            System.out.println("put in the card of " + person);
            awaitCard(arguments[1], true);
            return new Token(arguments[0], arguments[1]);
        };
        List<String> persons = Arrays.asList(arguments).subList(3, arguments.length);
        try (Pin puk = Pin.of(System.getenv("VORNIX_SO_PIN").toCharArray());
                Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            issue(persons, cards, puk, pin, request -> run(arguments[2], request), System.out::println);
        }
    }

    /** Issues a card to each person and reports what became of it, a line each. */
    static void issue(List<String> persons, Cards cards, Pin puk, Pin pin, Authority authority,
            Consumer<String> report) throws InterruptedException {
        for (String person : persons) {
            try {
                Token token = cards.next(person);
                X509Certificate certificate = issue(token, person, puk, pin, authority);
                report.accept(person + ": issued, card " + token.readInfo().getSerialNumber() + ", certificate "
                        + certificate.getSerialNumber().toString(16));
            } catch (InterruptedException end) {
                throw end;
            } catch (Exception failure) {
                report.accept(person + ": FAILED, " + failure.getMessage());
            }
        }
    }

    private static X509Certificate issue(Token token, String person, Pin puk, Pin pin, Authority authority)
            throws Exception {
        token.initialize(puk);
        try (TokenSession session = token.open(pin)) {
            return fill(session, person, authority);
        }
    }

    /** Gives an empty card its key pair and certificate. */
    private static X509Certificate fill(TokenSession session, String person, Authority authority) throws Exception {
        session.generateRsaKeyPair(MODULUS_BITS, person, ID.getBytes());
        byte[] request = session.createRequest(ID, RequestContent.builder()
                .subject(new X500Principal(person))
                .keyUsage(KeyUsage.DIGITAL_SIGNATURE, KeyUsage.NON_REPUDIATION)
                .build());

        X509Certificate certificate = (X509Certificate) CertificateFactory.getInstance("X.509")
                .generateCertificate(new ByteArrayInputStream(authority.certify(request)));
        if (!certificate.getPublicKey().equals(session.readPublicKey(person))) {
            throw new IOException("the authority certified another key");
        }
        session.importCertificate(person, ID.getBytes(), certificate);
        byte[] test = session.sign(new byte[] {1}, ID, SignatureMode.ENCLOSED);
        session.verify(test, null);
        return certificate;
    }

    /** Waits until the PC/SC service sees a card in a reader, or none. */
    private static void awaitCard(String reader, boolean present) throws Exception {
        List<PcscReader> readers = PcscReader.list();
        while (readers.stream().anyMatch(each -> each.getName().startsWith(reader) && each.isCardPresent()) != present) {
            readers = PcscReader.awaitChange(readers, Duration.ofMinutes(1));
        }
    }

    private static byte[] run(String command, byte[] input) throws IOException, InterruptedException {
        Process process = new ProcessBuilder("sh", "-c", command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        try (OutputStream in = process.getOutputStream()) {
            in.write(input);
        }
        byte[] output = process.getInputStream().readAllBytes();
        if (process.waitFor() != 0) {
            throw new IOException("the authority refused: " + new String(output, StandardCharsets.UTF_8));
        }
        return output;
    }
}
