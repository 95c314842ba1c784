// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;

/** Stores a certificate beside its key and reads it back. */
public final class ImportCertificate {
    private ImportCertificate() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ImportCertificate.class, arguments, "MODULE READER FILE LABEL");
        X509Certificate certificate;
        try (InputStream file = Files.newInputStream(Paths.get(arguments[2]))) {
            certificate = (X509Certificate) CertificateFactory.getInstance("X.509").generateCertificate(file);
        }
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            token.importCertificate(pin, arguments[3], new byte[] {1}, certificate);
            System.out.println(token.readCertificate(pin, arguments[3]).getSubjectX500Principal());
        }
    }
}
