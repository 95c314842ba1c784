// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;

import java.security.cert.X509Certificate;

/** Reads a certificate, or tells why not. */
public final class ReadCertificate {
    private ReadCertificate() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ReadCertificate.class, arguments, "MODULE READER LABEL");
        String module = arguments[0];
        String reader = arguments[1];
        String label = arguments[2];
        Token token = new Token(module, reader);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            X509Certificate certificate = token.readCertificate(pin, label);
            System.out.println(certificate.getSubjectX500Principal());
        } catch (Pkcs11Exception refused) {
            System.out.println(refused.getReason()); // WRONG_PIN, for instance
        }
    }
}
