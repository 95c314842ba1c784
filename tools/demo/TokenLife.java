// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.util.ArrayList;

/** The whole life of a token, from its initialisation until it is empty again. */
final class TokenLife {
    private final Report report;
    private final Target token;
    private final OpenSsl openssl;

    TokenLife(Report report, String module, String reader, byte[] pin, OpenSsl openssl) {
        this.report = report;
        this.token = new Target(report, module, reader, pin);
        this.openssl = openssl;
    }

    void live(byte[] puk) throws IOException, GeneralSecurityException {
        report.introduce("The token in the reader \"" + token.reader + "\". Indented lines are this program's: numbers"
                + " are what the native methods return.\nLines that are not indented are the library's own.");
        Judge judge = new OpenSslJudge(openssl);
        Judge judgeOfGost = openssl.knowsGost() ? judge : new BouncyCastleJudge(openssl);
        if (judgeOfGost != judge) {
            report.introduce("openssl has no GOST engine here: " + judgeOfGost.name() + " judges GOST.");
        }
        Administration administration = new Administration(report, token);
        administration.initialise(puk);
        administration.describe();
        administration.changePin();
        administration.changePuk(puk);
        refuse();

        Holder alice = new Holder("Alice Ωmega", "RSA", 1, judge);
        Holder boris = new Holder("Борис", "GOSTR3410", 2, judgeOfGost);
        Keys keys = new Keys(report, token);
        keys.generateRsa(alice);
        keys.generateGost(boris);

        CertificateAuthority authority = new CertificateAuthority(openssl);
        Certificates certificates = new Certificates(report, token, openssl, authority);
        certificates.certify(alice);
        certificates.importByLabelAndId(alice);
        certificates.certify(boris);
        certificates.importAsTwoBlocks(boris);
        certificates.list(alice, boris);

        Messages messages = new Messages(report, token, authority);
        for (Holder holder : new Holder[] {alice, boris}) {
            messages.encloseAndSign(holder);
            messages.signDetached(holder);
        }
        administration.clean();
    }

    /** Codes that the library itself gives. */
    private void refuse() {
        report.begin("What is not there");
        report.expect("listObjects", 6, Pkcs11Wrapper.listObjects("No reader has this name", token.module, token.pin,
                new ArrayList<>()));
        report.checked("an unknown reader is refused");
        report.expect("listObjects", 1, Pkcs11Wrapper.listObjects(token.reader, "./no-such-module.so", token.pin,
                new ArrayList<>()));
        report.checked("a missing module is refused");
    }
}
