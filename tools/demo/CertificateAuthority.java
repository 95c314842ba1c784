// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;

/** A throwaway certificate authority with an RSA key. Its certificate and key are files of openssl's folder. */
final class CertificateAuthority {
    static final String FILE = "authority.pem";
    static final String KEY = "authority.key";

    final X509Certificate certificate;

    CertificateAuthority(OpenSsl openssl) throws IOException {
        openssl.run("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/O=Vornix/CN=Throwaway authority",
                "-addext", "basicConstraints=critical,CA:TRUE", "-addext", "keyUsage=critical,keyCertSign",
                "-days", "1", "-keyout", KEY, "-out", FILE);
        openssl.run("x509", "-in", FILE, "-outform", "DER", "-out", "authority.der");
        certificate = parse(openssl.read("authority.der"));
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
