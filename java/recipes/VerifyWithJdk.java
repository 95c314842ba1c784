// SPDX-License-Identifier: Apache-2.0
package recipes;

import examples.Usage;

import java.io.ByteArrayInputStream;
import java.io.InputStream;
import java.math.BigInteger;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.security.Signature;
import java.security.SignatureException;
import java.security.cert.CertPathBuilder;
import java.security.cert.CertStore;
import java.security.cert.Certificate;
import java.security.cert.CertificateFactory;
import java.security.cert.CollectionCertStoreParameters;
import java.security.cert.PKIXBuilderParameters;
import java.security.cert.PKIXCertPathBuilderResult;
import java.security.cert.TrustAnchor;
import java.security.cert.X509CertSelector;
import java.security.cert.X509Certificate;
import java.util.Arrays;
import java.util.Collection;
import java.util.List;
import java.util.Map;
import java.util.Set;

import javax.security.auth.x500.X500Principal;

/**
 * Verifies a PKCS #7 message with the JDK alone: the signature, the signed attributes if there are any, and the way from
 * the signer's certificate to one that you trust. Use it where messages arrive, on a machine without token and module;
 * {@code Token.verify} judges the signature only, not who signed. It takes one RSA signer, as the token writes it; the
 * JDK has no GOST, and revocation is not asked for, which {@code setRevocationEnabled} changes.
 */
public final class VerifyWithJdk {
    private static final Der SIGNED_DATA = Der.identifier("1.2.840.113549.1.7.2");
    private static final Der CONTENT_TYPE = Der.identifier("1.2.840.113549.1.9.3");
    private static final Der MESSAGE_DIGEST = Der.identifier("1.2.840.113549.1.9.4");
    private static final Map<Der, String> DIGESTS = Map.of(
            Der.identifier("2.16.840.1.101.3.4.2.1"), "SHA-256",
            Der.identifier("2.16.840.1.101.3.4.2.2"), "SHA-384",
            Der.identifier("2.16.840.1.101.3.4.2.3"), "SHA-512");
    /** RSA as PKCS #1 v1.5 has it: the key's identifier, and those that name a digest too. */
    private static final List<Der> RSA = List.of(
            Der.identifier("1.2.840.113549.1.1.1"), Der.identifier("1.2.840.113549.1.1.11"),
            Der.identifier("1.2.840.113549.1.1.12"), Der.identifier("1.2.840.113549.1.1.13"));

    private VerifyWithJdk() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(VerifyWithJdk.class, arguments, "MESSAGE CONTENT AUTHORITY");
        X509Certificate authority;
        try (InputStream file = Files.newInputStream(Paths.get(arguments[2]))) {
            authority = (X509Certificate) CertificateFactory.getInstance("X.509").generateCertificate(file);
        }
        X509Certificate signer = verify(Files.readAllBytes(Paths.get(arguments[0])),
                Files.readAllBytes(Paths.get(arguments[1])), Set.of(new TrustAnchor(authority, null)));
        System.out.println("good, signed by " + signer.getSubjectX500Principal());
    }

    /**
     * Verifies a message and returns the signer's certificate.
     *
     * @param content what a detached message is about; what the message encloses must equal it, unless this is null
     * @throws GeneralSecurityException when the message, or the way to its signer's certificate, is not good
     */
    static X509Certificate verify(byte[] message, byte[] content, Set<TrustAnchor> trusted)
            throws GeneralSecurityException {
        try {
            Der signedData = signedData(Der.parse(message));
            Der signer = signer(signedData);
            X509Certificate certificate = trustedCertificate(message, signer, trusted);
            Der enclosed = signedData.at(2);
            verify(signer, certificate, enclosed.at(0), content(enclosed, content));
            return certificate;
        } catch (IllegalArgumentException malformed) {
            throw new SignatureException("not a message that this recipe reads: " + malformed.getMessage(), malformed);
        }
    }

    /** Returns what a message encloses. */
    static byte[] enclosed(Der message) {
        return signedData(message).at(2, 1, 0).content;
    }

    private static Der signedData(Der message) {
        require(message.at(0).equals(SIGNED_DATA), "no signed data");
        return message.at(1, 0);
    }

    private static Der signer(Der signedData) {
        Der signers = signedData.at(Der.LAST);
        require(signers.tag == Der.SET && signers.children().size() == 1, "not one signer");
        return signers.at(0);
    }

    private static byte[] content(Der enclosed, byte[] given) throws SignatureException {
        boolean detached = enclosed.children().size() == 1;
        require(!detached || given != null, "the content is missing");
        byte[] content = detached ? given : enclosed.at(1, 0).content;
        if (given != null && !Arrays.equals(given, content)) {
            throw new SignatureException("the message encloses another content");
        }
        return content;
    }

    /** Builds the way from the certificate that the signer names, with those in the message, to a trusted one. */
    private static X509Certificate trustedCertificate(byte[] message, Der signer, Set<TrustAnchor> trusted)
            throws GeneralSecurityException {
        Collection<? extends Certificate> enclosed =
                CertificateFactory.getInstance("X.509").generateCertificates(new ByteArrayInputStream(message));
        X509CertSelector named = new X509CertSelector();
        named.setIssuer(new X500Principal(signer.at(1, 0).encode()));
        named.setSerialNumber(new BigInteger(signer.at(1, 1).content));
        PKIXBuilderParameters parameters = new PKIXBuilderParameters(trusted, named);
        parameters.addCertStore(CertStore.getInstance("Collection", new CollectionCertStoreParameters(enclosed)));
        parameters.setRevocationEnabled(false);
        PKIXCertPathBuilderResult way =
                (PKIXCertPathBuilderResult) CertPathBuilder.getInstance("PKIX").build(parameters);
        X509Certificate certificate = (X509Certificate) way.getCertPath().getCertificates().get(0);
        boolean[] usage = certificate.getKeyUsage();
        if (usage != null && !usage[0] && !usage[1]) {
            throw new SignatureException("the certificate is not meant for signatures");
        }
        return certificate;
    }

    private static void verify(Der signer, X509Certificate certificate, Der type, byte[] content)
            throws GeneralSecurityException {
        String digest = DIGESTS.get(signer.at(2, 0));
        Der attributes = signer.at(3).tag == Der.bracket(0) ? signer.at(3) : null;
        int next = attributes == null ? 3 : 4;
        require(digest != null && RSA.contains(signer.at(next, 0)), "another algorithm");

        byte[] signed = content;
        if (attributes != null) {
            byte[] hash = MessageDigest.getInstance(digest).digest(content);
            if (!attribute(attributes, CONTENT_TYPE).equals(type)
                    || !MessageDigest.isEqual(attribute(attributes, MESSAGE_DIGEST).content, hash)) {
                throw new SignatureException("the signed attributes belong to another content");
            }
            // They are stored under [0] and signed as the set that they are (RFC 5652, section 5.4).
            signed = Der.of(Der.SET, attributes.content).encode();
        }
        Signature signature = Signature.getInstance(digest.replace("-", "") + "withRSA");
        signature.initVerify(certificate);
        signature.update(signed);
        if (!signature.verify(signer.at(next + 1).content)) {
            throw new SignatureException("the signature is bad");
        }
    }

    private static Der attribute(Der attributes, Der type) {
        Der[] found = attributes.children().stream().filter(each -> each.at(0).equals(type)).toArray(Der[]::new);
        require(found.length == 1 && found[0].at(1).children().size() == 1, "not one attribute of a kind");
        return found[0].at(1, 0);
    }

    private static void require(boolean condition, String otherwise) {
        if (!condition) {
            throw new IllegalArgumentException(otherwise);
        }
    }
}
