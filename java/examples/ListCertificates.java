// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenSession;

/** Lists certificates and keys with one login. */
public final class ListCertificates {
    private ListCertificates() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ListCertificates.class, arguments, "MODULE READER");
        String module = arguments[0];
        String reader = arguments[1];
        Token token = new Token(module, reader);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
                TokenSession session = token.open(pin)) {
            for (TokenCertificate certificate : session.listCertificates()) {
                System.out.println(certificate.getLabel() + ": "
                        + certificate.getSubject().orElse("no X.509 certificate")
                        + (certificate.hasPrivateKey() ? ", with its private key" : ""));
            }
            System.out.println(session.listObjects().size() + " objects");
        }
    }
}
