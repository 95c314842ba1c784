// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import jdk.security.jarsigner.JarSigner;

import java.io.ByteArrayOutputStream;
import java.io.File;
import java.net.InetAddress;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.AuthProvider;
import java.security.KeyStore;
import java.security.PrivateKey;
import java.security.Provider;
import java.security.Security;
import java.security.Signature;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.util.Arrays;
import java.util.concurrent.FutureTask;
import java.util.jar.JarFile;
import java.util.zip.ZipFile;

import javax.net.ssl.KeyManagerFactory;
import javax.net.ssl.SSLContext;
import javax.net.ssl.SSLServerSocket;
import javax.net.ssl.SSLSocket;
import javax.net.ssl.TrustManagerFactory;

/**
 * The JDK's PKCS #11 provider and the Java API on one token in one process, by turns. The token has one key and its
 * certificate. Arguments: who comes first, "provider" or "api"; module, reader, PIN, the provider's configuration, a
 * jar to sign.
 */
public final class BesideTheProvider {
    private static final byte[] NONE = {};

    private final String[] arguments;
    private final Token token;
    private final Pin pin;
    private KeyStore keys;
    private Provider provider;

    private BesideTheProvider(String[] arguments) {
        this.arguments = arguments;
        token = new Token(arguments[1], arguments[2]);
        pin = Pin.of(arguments[3].toCharArray());
    }

    public static void main(String[] arguments) throws Exception {
        new BesideTheProvider(arguments).run();
        System.out.println("done");
        System.exit(0);
    }

    private void run() throws Exception {
        if (arguments[0].equals("api")) {
            list();
            expect(refused(Pin.of("00000000".toCharArray())) == Reason.WRONG_PIN, "a wrong PIN before");
        }
        open();
        sign();
        list();
        sign();
        try (TokenSession session = token.open(pin)) {
            expect(session.listObjects().size() >= 2, "a session");
            sign();
            handshake();
            signJar();
            expect(session.listObjects().size() >= 2, "the session still");
        }
        sign();
        list();
        handshake();
        expect(refused(Pin.of("00000000".toCharArray())) == null, "the provider's login is everybody's");
        try (TokenSession session = token.open(pin)) {
            expect(reason(() -> session.readCertificateBytes("nobody", NONE)) == Reason.NO_SUCH_OBJECT, "a search");
        }
        afterLogout("a search", session -> session.readCertificateBytes("nobody", NONE));
        afterLogout("reading", session -> session.readCertificateBytes(alias(), NONE));
        afterLogout("a listing", TokenSession::listObjects);
        afterLogout("a listing of certificates", TokenSession::listCertificates);
        afterLogout("cleaning", TokenSession::clean);
        list();
    }

    /** Does a job that does not see all objects any more. */
    private void afterLogout(String what, SessionJob job) throws Exception {
        try (TokenSession session = token.open(pin)) {
            ((AuthProvider) provider).logout();
            expect(reason(() -> job.on(session)) == Reason.REMOVED, what + " without the login");
        }
    }

    private interface SessionJob {
        void on(TokenSession session) throws Exception;
    }

    private interface Work {
        void run() throws Exception;
    }

    /** Why it is refused; null: it is not. */
    private static Reason reason(Work work) throws Exception {
        try {
            work.run();
            return null;
        } catch (Pkcs11Exception failure) {
            return failure.getReason();
        }
    }

    /** As somebody who uses the provider does. */
    private void open() throws Exception {
        provider = Security.getProvider("SunPKCS11").configure(arguments[4]);
        Security.addProvider(provider); // where TLS looks for somebody who can use the key
        keys = KeyStore.getInstance("PKCS11", provider);
        keys.load(null, arguments[3].toCharArray());
    }

    private void list() throws Exception {
        expect(token.listObjects(pin).size() >= 2, "listing");
        expect(token.listCertificates(pin).get(0).getCertificate().isPresent(), "the certificate");
    }

    private Reason refused(Pin wrong) throws Exception {
        return reason(() -> token.listObjects(wrong));
    }

    private String alias() throws Exception {
        return keys.aliases().nextElement();
    }

    private void sign() throws Exception {
        byte[] data = {1, 2, 3};
        Signature signature = Signature.getInstance("SHA256withRSA", provider);
        signature.initSign((PrivateKey) keys.getKey(alias(), null));
        signature.update(data);
        byte[] signed = signature.sign();
        Signature check = Signature.getInstance("SHA256withRSA");
        check.initVerify(keys.getCertificate(alias()));
        check.update(data);
        expect(check.verify(signed), "the provider's signature");
    }

    /** TLS both ways with the token's key, which both sides trust. */
    private void handshake() throws Exception {
        KeyManagerFactory own = KeyManagerFactory.getInstance("PKIX");
        own.init(keys, null);
        KeyStore trusted = KeyStore.getInstance("PKCS12");
        trusted.load(null, null);
        trusted.setCertificateEntry("token", keys.getCertificate(alias()));
        TrustManagerFactory trust = TrustManagerFactory.getInstance("PKIX");
        trust.init(trusted);
        SSLContext context = SSLContext.getInstance("TLS");
        context.init(own.getKeyManagers(), trust.getTrustManagers(), null);

        try (SSLServerSocket server = (SSLServerSocket) context.getServerSocketFactory().createServerSocket(0, 1,
                InetAddress.getLoopbackAddress())) {
            server.setNeedClientAuth(true);
            FutureTask<Integer> answer = new FutureTask<>(() -> {
                try (SSLSocket accepted = (SSLSocket) server.accept()) {
                    return accepted.getInputStream().read();
                }
            });
            new Thread(answer).start();
            try (SSLSocket client = (SSLSocket) context.getSocketFactory().createSocket(server.getInetAddress(),
                    server.getLocalPort())) {
                client.getOutputStream().write(42);
                client.getOutputStream().flush();
                expect(answer.get() == 42, "what came by TLS");
            }
        }
    }

    private void signJar() throws Exception {
        Path jar = Paths.get(arguments[5]);
        ByteArrayOutputStream signed = new ByteArrayOutputStream();
        JarSigner signer = new JarSigner.Builder((PrivateKey) keys.getKey(alias(), null),
                CertificateFactory.getInstance("X.509").generateCertPath(
                        Arrays.asList((X509Certificate) keys.getCertificate(alias()))))
                .signatureAlgorithm("SHA256withRSA", provider).build();
        try (ZipFile zip = new ZipFile(jar.toFile())) {
            signer.sign(zip, signed);
        }
        File copy = Files.write(jar.resolveSibling("signed.jar"), signed.toByteArray()).toFile();
        try (JarFile whole = new JarFile(copy, true)) {
            expect(whole.stream().anyMatch(entry -> entry.getName().endsWith(".RSA")), "a signed jar");
        }
    }

    private static void expect(boolean truth, String what) {
        if (!truth) {
            throw new AssertionError(what);
        }
    }
}
