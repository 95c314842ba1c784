// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.security.GeneralSecurityException;
import java.security.cert.X509Certificate;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Base64;
import java.util.List;
import java.util.stream.Collectors;

import javax.security.auth.x500.X500Principal;

/** From a key pair to a certificate on the token. */
final class Certificates {
    static final byte[] AUTHORITY_ID = {(byte) 0xCA};

    private static final String AUTHORITY_LABEL = "Authority";
    private static final int DATA_INVALID = 0x20;
    private static final int NOT_FOUND = 6;

    private final Report report;
    private final Target token;
    private final OpenSsl openssl;
    private final CertificateAuthority authority;

    Certificates(Report report, Target token, OpenSsl openssl, CertificateAuthority authority) {
        this.report = report;
        this.token = token;
        this.openssl = openssl;
        this.authority = authority;
    }

    void certify(Holder holder) throws IOException {
        byte[] request = request(holder);

        report.begin("Certificate for " + holder.name + ", issued by the demonstration's own authority");
        X509Certificate certificate = CertificateAuthority.parse(holder.judge.certify(request));
        report.show("serial number", certificate.getSerialNumber().toString(16));
        report.check("the JDK finds it signed by the authority", isSigned(certificate));
        report.check("it names " + holder.name + " as the request did",
                certificate.getSubjectX500Principal().equals(new X500Principal("CN=" + holder.name + ", C=NO")));
        boolean[] usage = certificate.getKeyUsage();
        report.check("it is for signing, as the request's extension wished", usage != null && usage[0] && !usage[2]);
        report.check("its key is the request's", Bytes.contains(request, certificate.getPublicKey().getEncoded()));
        if (holder.publicKey != null) {
            report.check("that is the key read from the token", certificate.getPublicKey().equals(holder.publicKey));
        }
        holder.certificate = certificate;
    }

    void importByLabelAndId(Holder holder) throws GeneralSecurityException {
        report.begin("Import under label and ID, and reading back");
        byte[] der = holder.certificate.getEncoded();
        load(holder.name, holder.id, der);
        readBack(holder, der);

        load(AUTHORITY_LABEL, AUTHORITY_ID, authority.certificate.getEncoded());
        byte[] pem = Base64.getMimeEncoder().encode(der);
        report.expect("loadX509Certificate", DATA_INVALID, Pkcs11Wrapper.loadX509Certificate(token.reader, token.module,
                token.pin, "Text", holder.id, pem));
        report.checked("a certificate as text is refused");
        ArrayList<Byte> untouched = new ArrayList<>();
        report.expect("getX509Certificate", NOT_FOUND, Pkcs11Wrapper.getX509Certificate(token.reader, token.module,
                token.pin, "Text", new byte[0], untouched));
        report.check("nothing of it is on the token", untouched.isEmpty());
    }

    void importAsTwoBlocks(Holder holder) throws GeneralSecurityException {
        report.begin("Import as two blocks, the certificate and its ID, and reading back");
        byte[] der = holder.certificate.getEncoded();
        report.expect("loadCert", Pkcs11Wrapper.loadCert(token.reader, token.module, der, holder.id, token.pin));
        readBack(holder, der);
    }

    void list(Holder... holders) {
        report.begin("Listing");
        List<String> expected = new ArrayList<>(List.of(describe("certificate", AUTHORITY_LABEL,
                Bytes.hex(AUTHORITY_ID), null)));
        for (Holder holder : holders) {
            String id = Bytes.hex(holder.id);
            expected.add(describe("certificate", holder.name, id, null));
            expected.add(describe("public key", holder.name, id, holder.keyType));
            expected.add(describe("private key", holder.name, id, holder.keyType));
        }
        List<String> listed = token.objects(token.pin).stream().map(Certificates::describe).sorted()
                .collect(Collectors.toList());
        listed.forEach(object -> report.show("object", object));
        expected.sort(null);
        report.check("these are the key pairs and certificates, and nothing else", listed.equals(expected));
    }

    private byte[] request(Holder holder) throws IOException {
        report.begin("Certificate request of " + holder.name);
        String[] subject = {"C", "NO", "CN", holder.name};
        String[] attributes = {"unstructuredName", "Demonstration"};
        String[] extensions = {"keyUsage", "critical", "digitalSignature,nonRepudiation"};
        ArrayList<Byte> delivered = new ArrayList<>();
        report.expect("createCSR", Pkcs11Wrapper.createCSR(token.reader, token.module, token.pin, holder.id, holder.id,
                subject, attributes, extensions, delivered));
        byte[] request = Bytes.of(delivered);
        report.show("length", request.length + " bytes");
        String text = openssl.run("req", "-noout", "-text", "-inform", "DER",
                "-in", openssl.write("request.der", request));
        Judge judge = holder.judge;
        report.check(judge.name() + " finds its signature good", judge.findsGood(request));
        report.check("it has the attribute", text.contains("unstructuredName") && text.contains("Demonstration"));
        byte[] tampered = Bytes.tampered(request, holder.name.getBytes(StandardCharsets.UTF_8));
        report.check(judge.name() + " finds it bad under another name", !judge.findsGood(tampered));
        return request;
    }

    private boolean isSigned(X509Certificate certificate) {
        try {
            certificate.verify(authority.certificate.getPublicKey());
            return true;
        } catch (GeneralSecurityException failure) {
            return false;
        }
    }

    private void load(String label, byte[] id, byte[] der) {
        report.expect("loadX509Certificate", Pkcs11Wrapper.loadX509Certificate(token.reader, token.module, token.pin,
                label, id, der));
    }

    private void readBack(Holder holder, byte[] der) {
        ArrayList<Byte> stored = new ArrayList<>();
        report.expect("getX509Certificate", Pkcs11Wrapper.getX509Certificate(token.reader, token.module, token.pin,
                holder.name, holder.id, stored));
        report.check("what is read back is what was imported, byte for byte", Arrays.equals(Bytes.of(stored), der));
    }

    private static String describe(Pkcs11ObjectAttribute object) {
        return describe(object.getType(), object.getLabel(), object.getId(), object.getKeyType());
    }

    private static String describe(String type, String label, String id, String keyType) {
        return type + ", " + label + ", ID " + id + (keyType == null ? "" : ", " + keyType);
    }
}
