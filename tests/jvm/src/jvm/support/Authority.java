// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.ByteArrayInputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;

/** OpenSSL as a certificate authority, its certificate in ca.pem of a folder. */
public final class Authority {
    private Authority() {
    }

    /** Makes a certificate of a request. */
    public static X509Certificate certify(Path folder, byte[] request) throws Exception {
        String key = folder.resolve("ca.key").toString();
        String authority = folder.resolve("ca.pem").toString();
        Path asked = Files.write(folder.resolve("request.der"), request);
        Path certificate = folder.resolve("certificate.der");
        Processes.run("openssl", "req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=Authority",
                "-keyout", key, "-out", authority);
        Processes.run("openssl", "x509", "-req", "-in", asked.toString(), "-inform", "DER", "-CA", authority,
                "-CAkey", key, "-copy_extensions", "copy", "-outform", "DER", "-out", certificate.toString());
        return (X509Certificate) CertificateFactory.getInstance("X.509")
                .generateCertificate(new ByteArrayInputStream(Files.readAllBytes(certificate)));
    }
}
