// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/** OpenSSL as judge: of RSA always, of GOST where it has its GOST engine. */
final class OpenSslJudge implements Judge {
    private final OpenSsl openssl;

    OpenSslJudge(OpenSsl openssl) {
        this.openssl = openssl;
    }

    @Override
    public String name() {
        return "openssl";
    }

    @Override
    public byte[] certify(byte[] request) throws IOException {
        openssl.run("x509", "-req", "-inform", "DER", "-in", openssl.write("request.der", request),
                "-CA", CertificateAuthority.FILE, "-CAkey", CertificateAuthority.KEY, "-copy_extensions", "copy",
                "-days", "1", "-outform", "DER", "-out", "certificate.der");
        return openssl.read("certificate.der");
    }

    /** What openssl says tells; of OpenSSL 3.0 the status does not. */
    @Override
    public boolean findsGood(byte[] request) throws IOException {
        return openssl.outcome("req", "-verify", "-noout", "-inform", "DER",
                "-in", openssl.write("request.der", request)).text.contains("verify OK");
    }

    @Override
    public boolean accepts(byte[] message, byte[] content) throws IOException {
        List<String> arguments = new ArrayList<>(List.of("cms", "-verify", "-binary", "-inform", "DER",
                "-in", openssl.write("message", message), "-CAfile", CertificateAuthority.FILE, "-out", "verified"));
        if (content != null) {
            arguments.addAll(List.of("-content", openssl.write("content", content)));
        }
        return openssl.outcome(arguments.toArray(new String[0])).status == 0;
    }

    @Override
    public byte[] content() throws IOException {
        return openssl.read("verified");
    }
}
