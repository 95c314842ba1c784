// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenSession;

import examples.Usage;

import jdk.security.jarsigner.JarSigner;

import java.io.InputStream;
import java.io.OutputStream;
import java.net.InetAddress;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.KeyStore;
import java.security.PrivateKey;
import java.security.Provider;
import java.security.Security;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.FutureTask;
import java.util.zip.ZipFile;

import javax.net.ssl.KeyManagerFactory;
import javax.net.ssl.SSLContext;
import javax.net.ssl.SSLServerSocket;
import javax.net.ssl.SSLSocket;
import javax.net.ssl.TrustManagerFactory;
import javax.xml.crypto.dsig.CanonicalizationMethod;
import javax.xml.crypto.dsig.DigestMethod;
import javax.xml.crypto.dsig.Reference;
import javax.xml.crypto.dsig.SignedInfo;
import javax.xml.crypto.dsig.Transform;
import javax.xml.crypto.dsig.XMLSignatureFactory;
import javax.xml.crypto.dsig.dom.DOMSignContext;
import javax.xml.crypto.dsig.keyinfo.KeyInfo;
import javax.xml.crypto.dsig.keyinfo.KeyInfoFactory;
import javax.xml.crypto.dsig.spec.C14NMethodParameterSpec;
import javax.xml.crypto.dsig.spec.TransformParameterSpec;
import javax.xml.parsers.DocumentBuilderFactory;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;

import org.w3c.dom.Document;

/**
 * Uses one key of the token by the JDK's own PKCS #11 provider, for TLS on both ends, a signed jar and a signed XML
 * document, with messages of our own before, between and after. Use it where a program needs the token for more than
 * PKCS #7: both share one module and one login, so the provider asks for no PIN while a session is open. The provider
 * keeps sessions, hence the login, for as long as the process lives.
 */
public final class BesideTheJdk {
    private static final byte[] GREETING = {'h', 'e', 'l', 'l', 'o'};

    private BesideTheJdk() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(BesideTheJdk.class, arguments, "MODULE READER ID AUTHORITY JAR XML FOLDER");
        Token token = new Token(arguments[0], arguments[1]);
        ObjectId id = ObjectId.parse(arguments[2]);
        Path folder = Paths.get(arguments[6]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            try (TokenSession session = token.open(pin)) {
                Files.write(folder.resolve("before.p7s"), session.sign(GREETING, id, SignatureMode.ENCLOSED));
                Provider provider = provider(arguments[0], arguments[1]);
                KeyStore keys = KeyStore.getInstance("PKCS11", provider);
                keys.load(null, null);
                X509Certificate certificate = certificate(session, id);
                PrivateKey key = (PrivateKey) keys.getKey(keys.getCertificateAlias(certificate), null);

                System.out.println(shakeHands(tls(keys, Paths.get(arguments[3]))));
                Files.write(folder.resolve("between.p7s"), session.sign(GREETING, id, SignatureMode.ENCLOSED));
                signJar(key, certificate, provider, Paths.get(arguments[4]), folder.resolve("signed.jar"));
                signXml(key, certificate, Paths.get(arguments[5]), folder.resolve("signed.xml"));
            }
            try (TokenSession session = token.open(pin)) {
                Files.write(folder.resolve("after.p7s"), session.sign(GREETING, id, SignatureMode.ENCLOSED));
            }
        }
    }

    private static X509Certificate certificate(TokenSession session, ObjectId id) throws Exception {
        return session.listCertificates().stream().filter(each -> Arrays.equals(each.getId(), id.getBytes()))
                .findFirst().flatMap(TokenCertificate::getCertificate)
                .orElseThrow(() -> new IllegalArgumentException("no certificate has the ID " + id));
    }

    /** Configures the provider for the slot that Token takes, and installs it, because TLS and XML look there for it. */
    private static Provider provider(String module, String reader) throws Exception {
        Reader chosen = Token.readers(module).stream().filter(each -> each.getName().equals(reader)).findFirst()
                .orElseThrow(() -> new IllegalArgumentException("give the reader's whole name"));
        Provider provider = Security.getProvider("SunPKCS11")
                .configure("--name = Token\nlibrary = " + module + "\nslot = " + chosen.getSlot() + "\n");
        Security.addProvider(provider);
        return provider;
    }

    /** A context for both ends: each shows the token's certificate and trusts the authority's. */
    private static SSLContext tls(KeyStore keys, Path authority) throws Exception {
        KeyManagerFactory own = KeyManagerFactory.getInstance("PKIX");
        own.init(keys, null);
        KeyStore trusted = KeyStore.getInstance("PKCS12");
        trusted.load(null, null);
        try (InputStream file = Files.newInputStream(authority)) {
            trusted.setCertificateEntry("authority", CertificateFactory.getInstance("X.509").generateCertificate(file));
        }
        TrustManagerFactory others = TrustManagerFactory.getInstance("PKIX");
        others.init(trusted);
        SSLContext context = SSLContext.getInstance("TLS");
        context.init(own.getKeyManagers(), others.getTrustManagers(), null);
        return context;
    }

    /** A client that also checks the host sets the endpoint identification of its SSLParameters to HTTPS. */
    private static String shakeHands(SSLContext context) throws Exception {
        InetAddress here = InetAddress.getLoopbackAddress();
        try (SSLServerSocket server =
                (SSLServerSocket) context.getServerSocketFactory().createServerSocket(0, 1, here)) {
            server.setNeedClientAuth(true);
            FutureTask<String> served = new FutureTask<>(() -> {
                try (SSLSocket socket = (SSLSocket) server.accept()) {
                    socket.getOutputStream().write(GREETING);
                    return socket.getSession().getProtocol() + " with " + socket.getSession().getPeerPrincipal();
                }
            });
            new Thread(served).start();
            try (SSLSocket client =
                    (SSLSocket) context.getSocketFactory().createSocket(here, server.getLocalPort())) {
                if (!Arrays.equals(client.getInputStream().readNBytes(GREETING.length), GREETING)) {
                    throw new IllegalStateException("another greeting");
                }
            }
            return served.get();
        }
    }

    /** What the program jarsigner does with -keystore NONE -storetype PKCS11. */
    private static void signJar(PrivateKey key, X509Certificate certificate, Provider provider, Path jar, Path signed)
            throws Exception {
        JarSigner signer = new JarSigner.Builder(key,
                CertificateFactory.getInstance("X.509").generateCertPath(List.of(certificate)))
                .signatureAlgorithm("SHA256withRSA", provider).signerName("TOKEN").build();
        try (ZipFile in = new ZipFile(jar.toFile()); OutputStream out = Files.newOutputStream(signed)) {
            signer.sign(in, out);
        }
    }

    private static void signXml(PrivateKey key, X509Certificate certificate, Path xml, Path signed) throws Exception {
        DocumentBuilderFactory parsers = DocumentBuilderFactory.newInstance();
        parsers.setNamespaceAware(true);
        parsers.setFeature("http://apache.org/xml/features/disallow-doctype-decl", true);
        Document document = parsers.newDocumentBuilder().parse(xml.toFile());

        XMLSignatureFactory factory = XMLSignatureFactory.getInstance("DOM");
        Reference whole = factory.newReference("", factory.newDigestMethod(DigestMethod.SHA256, null),
                List.of(factory.newTransform(Transform.ENVELOPED, (TransformParameterSpec) null)), null, null);
        SignedInfo info = factory.newSignedInfo(
                factory.newCanonicalizationMethod(CanonicalizationMethod.EXCLUSIVE, (C14NMethodParameterSpec) null),
                factory.newSignatureMethod("http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", null), List.of(whole));
        KeyInfoFactory infos = factory.getKeyInfoFactory();
        KeyInfo signer = infos.newKeyInfo(List.of(infos.newX509Data(List.of(certificate))));
        factory.newXMLSignature(info, signer).sign(new DOMSignContext(key, document.getDocumentElement()));

        try (OutputStream out = Files.newOutputStream(signed)) {
            TransformerFactory.newInstance().newTransformer().transform(new DOMSource(document), new StreamResult(out));
        }
    }
}
