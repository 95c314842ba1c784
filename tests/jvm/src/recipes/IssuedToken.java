// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.Authority;

import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.io.TempDir;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.TrustAnchor;
import java.security.cert.X509Certificate;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Set;

/** A software token that was issued to Alice, after Mallory's request had been refused. */
abstract class IssuedToken {
    static final String MODULE = System.getProperty("vornix.softtoken");
    static final String READER = "Vornix Soft Reader 00 00";
    static final String PIN = "12345678";
    static final String ALICE = "CN=Alice,O=Example";

    /** Holds the authority's certificate in ca.pem. */
    @TempDir
    static Path folder;

    static final List<String> REPORT = new ArrayList<>();

    @BeforeAll
    static void issue() throws Exception {
        REPORT.clear();
        try (Pin puk = Pin.of("87654321".toCharArray()); Pin pin = pin()) {
            BatchIssuing.issue(Arrays.asList("CN=Mallory", ALICE), person -> token(), puk, pin, request -> {
                if (new String(request).contains("Mallory")) {
                    throw new IOException("not on my list");
                }
                return Authority.certify(folder, request).getEncoded();
            }, REPORT::add);
        }
    }

    static Pin pin() {
        return Pin.of(PIN.toCharArray());
    }

    static Token token() {
        return new Token(MODULE, READER);
    }

    static Set<TrustAnchor> authority() throws IOException, CertificateException {
        try (InputStream file = Files.newInputStream(folder.resolve("ca.pem"))) {
            return Set.of(new TrustAnchor(
                    (X509Certificate) CertificateFactory.getInstance("X.509").generateCertificate(file), null));
        }
    }

    static String write(String name, byte[] content) throws IOException {
        return Files.write(folder.resolve(name), content).toString();
    }
}
