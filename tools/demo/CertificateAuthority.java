// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;

/** A throwaway certificate authority with an RSA key. Its certificate is the file {@link #FILE} of openssl's folder. */
final class CertificateAuthority {
    static final String FILE = "authority.pem";

    private static final String KEY = "authority.key";

    final X509Certificate certificate;

    private final OpenSsl openssl;

    CertificateAuthority(OpenSsl openssl) throws IOException {
        this.openssl = openssl;
        openssl.run("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/O=Vornix/CN=Throwaway authority",
                "-addext", "basicConstraints=critical,CA:TRUE", "-addext", "keyUsage=critical,keyCertSign",
                "-days", "1", "-keyout", KEY, "-out", FILE);
        openssl.run("x509", "-in", FILE, "-outform", "DER", "-out", "authority.der");
        certificate = parse(openssl.read("authority.der"));
    }

    /** Issues the certificate for which a request asks, with the request's subject, key and extensions. */
    byte[] certify(byte[] request) throws IOException {
        openssl.run("x509", "-req", "-inform", "DER", "-in", openssl.write("request.der", request),
                "-CA", FILE, "-CAkey", KEY, "-copy_extensions", "copy", "-days", "1",
                "-outform", "DER", "-out", "certificate.der");
        return openssl.read("certificate.der");
    }

    static X509Certificate parse(byte[] der) {
        try {
            return (X509Certificate) CertificateFactory.getInstance("X.509")
                    .generateCertificate(new ByteArrayInputStream(der));
        } catch (CertificateException failure) {
            throw new Surprise("the JDK reads no certificate: " + failure.getMessage());
        }
    }
}
