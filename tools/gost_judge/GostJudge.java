// SPDX-License-Identifier: Apache-2.0
package gost;

import org.bouncycastle.asn1.ASN1Encoding;
import org.bouncycastle.asn1.x500.X500Name;
import org.bouncycastle.asn1.x509.Extensions;
import org.bouncycastle.asn1.x509.SubjectPublicKeyInfo;
import org.bouncycastle.cert.X509CertificateHolder;
import org.bouncycastle.cert.X509v3CertificateBuilder;
import org.bouncycastle.cert.jcajce.JcaCertStore;
import org.bouncycastle.cms.CMSException;
import org.bouncycastle.cms.CMSProcessableByteArray;
import org.bouncycastle.cms.CMSSignedData;
import org.bouncycastle.cms.CMSSignedDataGenerator;
import org.bouncycastle.cms.SignerInformation;
import org.bouncycastle.cms.jcajce.JcaSignerInfoGeneratorBuilder;
import org.bouncycastle.cms.jcajce.JcaSimpleSignerInfoVerifierBuilder;
import org.bouncycastle.jce.provider.BouncyCastleProvider;
import org.bouncycastle.operator.ContentSigner;
import org.bouncycastle.operator.ContentVerifierProvider;
import org.bouncycastle.operator.jcajce.JcaContentSignerBuilder;
import org.bouncycastle.operator.jcajce.JcaContentVerifierProviderBuilder;
import org.bouncycastle.operator.jcajce.JcaDigestCalculatorProviderBuilder;
import org.bouncycastle.pkcs.PKCS10CertificationRequest;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.KeyFactory;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.PrivateKey;
import java.security.Provider;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.security.spec.ECGenParameterSpec;
import java.security.spec.PKCS8EncodedKeySpec;
import java.time.Instant;
import java.time.temporal.ChronoUnit;
import java.util.Base64;
import java.util.Collection;
import java.util.Date;
import java.util.List;

/**
 * Bouncy Castle as signer and judge of GOST R 34.10-2001, for machines whose OpenSSL has no GOST engine. It knows
 * nothing of the token. Ends with status 0 for a good signature, with 1 for a bad one, with 2 when it cannot judge.
 */
public final class GostJudge {
    private static final String USAGE = "usage: java -jar gost-judge.jar COMMAND, with files as arguments\n"
            + "  verify-request REQUEST.der\n"
            + "  issue REQUEST.der AUTHORITY.pem AUTHORITY.key CERTIFICATE.der\n"
            + "  verify-message MESSAGE.der AUTHORITY.pem CONTENT-TO-WRITE [DETACHED-CONTENT]\n"
            + "  make-signer KEY.pem CERTIFICATE.pem\n"
            + "  sign-message attributes|bare CONTENT CERTIFICATE.pem KEY.pem MESSAGE.der";
    private static final String SIGNATURE = "GOST3411WITHECGOST3410";
    private static final Provider BC = new BouncyCastleProvider();

    private GostJudge() {
    }

    public static void main(String[] args) {
        try {
            boolean good = run(args);
            System.out.println(good ? "verify OK" : "verify failure");
            System.exit(good ? 0 : 1);
        } catch (Exception failure) {
            System.err.println(failure);
            System.exit(2);
        }
    }

    /** Whether the signature in question is good. */
    private static boolean run(String[] args) throws Exception {
        String command = args.length + " " + (args.length == 0 ? "" : args[0]);
        switch (command) {
            case "2 verify-request":
                return isGood(new PKCS10CertificationRequest(read(args[1])));
            case "5 issue":
                write(args[4], issue(new PKCS10CertificationRequest(read(args[1])), certificate(args[2]),
                        key(args[3], "RSA")));
                return true;
            case "4 verify-message":
                return isGood(new CMSSignedData(read(args[1])), certificate(args[2]), args[3]);
            case "5 verify-message":
                return isGood(new CMSSignedData(new CMSProcessableByteArray(read(args[4])), read(args[1])),
                        certificate(args[2]), args[3]);
            case "3 make-signer":
                makeSigner(args[1], args[2]);
                return true;
            case "6 sign-message":
                write(args[5], sign(read(args[2]), certificate(args[3]), key(args[4], "ECGOST3410"),
                        args[1].equals("bare")));
                return true;
            default:
                throw new IllegalArgumentException(USAGE);
        }
    }

    private static boolean isGood(PKCS10CertificationRequest request) throws Exception {
        return request.isSignatureValid(verifier().build(request.getSubjectPublicKeyInfo()));
    }

    /** The subject, the key and the extensions of a request whose signature is good. */
    private static byte[] issue(PKCS10CertificationRequest request, X509Certificate authority, PrivateKey key)
            throws Exception {
        if (!isGood(request)) {
            throw new IllegalArgumentException("the request's signature is bad");
        }
        X500Name issuer = X500Name.getInstance(authority.getSubjectX500Principal().getEncoded());
        X509v3CertificateBuilder builder = forADay(issuer, request.getSubject(), request.getSubjectPublicKeyInfo());
        Extensions wished = request.getRequestedExtensions();
        if (wished != null) {
            for (var id : wished.getExtensionOIDs()) {
                builder.addExtension(wished.getExtension(id));
            }
        }
        return builder.build(new JcaContentSignerBuilder("SHA256withRSA").build(key)).getEncoded();
    }

    /** Every signer's signature is good, and so is the authority's under its certificate; writes the content. */
    private static boolean isGood(CMSSignedData message, X509Certificate authority, String contentFile)
            throws Exception {
        ContentVerifierProvider ofAuthority = verifier().build(authority);
        Collection<SignerInformation> signers = message.getSignerInfos().getSigners();
        for (SignerInformation signer : signers) {
            @SuppressWarnings("unchecked")
            Collection<X509CertificateHolder> matching = message.getCertificates().getMatches(signer.getSID());
            X509CertificateHolder certificate = matching.iterator().next();
            if (!certificate.isSignatureValid(ofAuthority) || !isGood(signer, certificate)) {
                return false;
            }
        }
        write(contentFile, (byte[]) message.getSignedContent().getContent());
        return !signers.isEmpty();
    }

    private static boolean isGood(SignerInformation signer, X509CertificateHolder certificate) throws Exception {
        try {
            return signer.verify(new JcaSimpleSignerInfoVerifierBuilder().setProvider(BC).build(certificate));
        } catch (CMSException bad) { // another digest than the signed one
            return false;
        }
    }

    private static void makeSigner(String keyFile, String certificateFile) throws Exception {
        KeyPairGenerator generator = KeyPairGenerator.getInstance("ECGOST3410", BC);
        generator.initialize(new ECGenParameterSpec("GostR3410-2001-CryptoPro-A"));
        KeyPair pair = generator.generateKeyPair();
        X500Name name = new X500Name("CN=Bouncy Castle");
        byte[] certificate = forADay(name, name,
                SubjectPublicKeyInfo.getInstance(pair.getPublic().getEncoded()))
                .build(signer(pair.getPrivate())).getEncoded();
        write(keyFile, pem("PRIVATE KEY", pair.getPrivate().getEncoded()));
        write(certificateFile, pem("CERTIFICATE", certificate));
    }

    private static byte[] sign(byte[] content, X509Certificate certificate, PrivateKey key, boolean bare)
            throws Exception {
        CMSSignedDataGenerator generator = new CMSSignedDataGenerator();
        generator.addSignerInfoGenerator(new JcaSignerInfoGeneratorBuilder(
                new JcaDigestCalculatorProviderBuilder().setProvider(BC).build())
                .setDirectSignature(bare).build(signer(key), certificate));
        generator.addCertificates(new JcaCertStore(List.of(certificate)));
        return generator.generate(new CMSProcessableByteArray(content), true).toASN1Structure()
                .getEncoded(ASN1Encoding.DER);
    }

    private static JcaContentVerifierProviderBuilder verifier() {
        return new JcaContentVerifierProviderBuilder().setProvider(BC);
    }

    private static ContentSigner signer(PrivateKey key) throws Exception {
        return new JcaContentSignerBuilder(SIGNATURE).setProvider(BC).build(key);
    }

    private static X509v3CertificateBuilder forADay(X500Name issuer, X500Name subject, SubjectPublicKeyInfo key) {
        Instant now = Instant.now();
        return new X509v3CertificateBuilder(issuer, BigInteger.valueOf(now.toEpochMilli()), Date.from(now),
                Date.from(now.plus(1, ChronoUnit.DAYS)), subject, key);
    }

    private static X509Certificate certificate(String file) throws Exception {
        return (X509Certificate) CertificateFactory.getInstance("X.509", BC)
                .generateCertificate(new ByteArrayInputStream(read(file)));
    }

    private static PrivateKey key(String file, String algorithm) throws Exception {
        String pem = new String(read(file), StandardCharsets.US_ASCII);
        return KeyFactory.getInstance(algorithm, BC).generatePrivate(new PKCS8EncodedKeySpec(
                Base64.getMimeDecoder().decode(pem.replaceAll("-----[^-]*-----", ""))));
    }

    private static byte[] pem(String title, byte[] der) {
        return ("-----BEGIN " + title + "-----\n" + Base64.getMimeEncoder().encodeToString(der) + "\n-----END " + title
                + "-----\n").getBytes(StandardCharsets.US_ASCII);
    }

    private static byte[] read(String file) throws IOException {
        return Files.readAllBytes(Path.of(file));
    }

    private static void write(String file, byte[] bytes) throws IOException {
        Files.write(Path.of(file), bytes);
    }
}
