// SPDX-License-Identifier: Apache-2.0
package bench;

import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.KeyPairGenerator;
import java.security.KeyStore;
import java.security.Provider;
import java.security.Security;
import java.util.ArrayList;
import java.util.Arrays;

/**
 * Times an open session beside what else does the same jobs: {@code instant}, {@code softhsm} or {@code softtoken}, and
 * the module's file. {@code bench/open_token} makes the tokens and runs all three.
 */
public final class OpenTokenBenchmark {
    private static final String PIN = "12345678";
    private static final byte[] PIN_BYTES = PIN.getBytes(StandardCharsets.UTF_8);
    private static final byte[] ANY_ID = {};
    private static final int CERTIFICATES = 100;

    private OpenTokenBenchmark() {
    }

    public static void main(String[] arguments) throws Exception {
        String module = arguments[1];
        System.loadLibrary("VornixToken_Javalib");
        switch (arguments[0]) {
            case "instant":
                onInstantModule(module);
                break;
            case "softhsm":
                onSoftHsm(module);
                break;
            case "softtoken":
                onSoftwareToken(module, Files.readAllBytes(Paths.get(arguments[2])));
                break;
            default:
                throw new IllegalArgumentException(arguments[0]);
        }
    }

    private static void onInstantModule(String module) throws Exception {
        String reader = "Reader 0";
        String label = "object";
        byte[] id = {1, 2};
        System.loadLibrary("plain_jni");
        PlainJni.open(module);
        Token token = new Token(module, reader);
        try (Peers peers = new Peers(module, 0, PIN); Pin pin = Pin.of(PIN.toCharArray());
                TokenSession session = token.open(pin)) {
            byte[] certificate = session.readCertificateBytes(label, id);
            check(session.listObjects().equals(PlainJni.listObjects()), "the plain function lists something else");
            check(Arrays.equals(certificate, PlainJni.readCertificate(label, id)), "it reads something else");
            Turns.head("Instant module: 102 objects, a certificate of 1,000 bytes", "of the session's");
            SideBySide lists = new SideBySide(peers, 20, 2, 100);
            lists.take(lists.job("list 102 objects", session::listObjects)
                    .with("plain JNI", Turns.repeated(20, PlainJni::listObjects))
                    .with("natives", Turns.repeated(2, () -> listByNatives(module, reader))), "list");
            SideBySide reads = new SideBySide(peers, 5000, 10, 200);
            reads.take(reads.job("read a certificate", () -> session.readCertificateBytes(label, id))
                    .with("plain JNI", Turns.repeated(5000, () -> PlainJni.readCertificate(label, id)))
                    .with("natives", Turns.repeated(2, () -> readByNatives(module, reader, label))),
                    "certificate " + label);
            SideBySide others = new SideBySide(peers, 100, 10, 60);
            others.take("read a public key", () -> session.readPublicKey(label), "public_key " + label);
            look(others, module, token, pin, session);
            others.take("generate an RSA key pair", () -> session.generateRsaKeyPair(2048, label, id), "generate");
            others.take("import a certificate", () -> session.importCertificate(label, id, certificate),
                    "import " + certificate.length);
            lists.take("destroy 102 objects", session::clean, "clean");
        }
    }

    /** Jobs that do not look for objects. */
    private static void look(SideBySide contest, String module, Token token, Pin pin, TokenSession session)
            throws Exception {
        contest.take("token info", session::readInfo, "info");
        contest.take("list readers", () -> Token.readers(module), "readers");
        contest.take("find a reader, open one more session", () -> token.open(pin).close(), "open");
    }

    private static void onSoftHsm(String module) throws Exception {
        Reader reader = Token.readers(module).stream()
                .filter(found -> found.getToken().filter(token -> token.getLabel().equals("bench")).isPresent())
                .findFirst().orElseThrow(IllegalStateException::new);
        Token token = new Token(module, reader.getName());
        Turns.head("SoftHSM2: " + CERTIFICATES + " certificates, one after the other", "of the session's");
        try (Pin pin = Pin.of(PIN.toCharArray())) {
            // The natives finalise the module, so no session is open meanwhile.
            new Turns("read " + CERTIFICATES + " certificates")
                    .with("one session, listCertificates", Turns.repeated(1, () -> {
                        try (TokenSession session = token.open(pin)) {
                            check(session.listCertificates().size() == CERTIFICATES, "certificates are missing");
                        }
                    }))
                    .with("one session, readCertificateBytes", Turns.repeated(1, () -> {
                        try (TokenSession session = token.open(pin)) {
                            for (int i = 1; i <= CERTIFICATES; i++) {
                                session.readCertificateBytes("certificate" + i, ANY_ID);
                            }
                        }
                    }))
                    .with("natives", () -> {
                        Token.unload(module);
                        return Turns.repeated(1, () -> {
                            for (int i = 1; i <= CERTIFICATES; i++) {
                                readByNatives(module, reader.getName(), "certificate" + i);
                            }
                        }).measure();
                    }).take(2, 9);
            besidePeers(module, reader.getSlot(), token, pin);
        }
    }

    private static void besidePeers(String module, long slot, Token token, Pin pin) throws Exception {
        try (TokenSession session = token.open(pin); Peers peers = new Peers(module, slot, PIN)) {
            session.generateRsaKeyPair(2048, "key", new byte[] {1});
            Provider provider = provider(module, slot);
            KeyStore keys = KeyStore.getInstance("PKCS11", provider);
            Turns.head("SoftHSM2, open sessions: " + CERTIFICATES + " certificates, one with its key, and a key pair",
                    "of the session's");
            SideBySide lists = new SideBySide(peers, 2, 2, 20);
            lists.take(lists.job("list", session::listObjects)
                    .with("JDK's provider", Turns.repeated(2, () -> keys.load(null, PIN.toCharArray()))), "list");
            SideBySide reads = new SideBySide(peers, 10, 10, 20);
            reads.take(reads.job("read a certificate", () -> session.readCertificateBytes("certificate7", ANY_ID))
                    .with("JDK's provider", Turns.repeated(1, () -> {
                        keys.load(null, PIN.toCharArray());
                        keys.getCertificate("certificate7").getEncoded();
                    }))
                    .with("JDK's provider, read before",
                            Turns.repeated(10, () -> keys.getCertificate("certificate7").getEncoded())),
                    "certificate certificate7");
            reads.take("read a public key", () -> session.readPublicKey("key"), "public_key key");
            look(new SideBySide(peers, 200, 20, 30), module, token, pin, session);
            KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA", provider);
            generator.initialize(2048);
            SideBySide pairs = new SideBySide(peers, 1, 1, 12);
            pairs.take(pairs.job("generate an RSA key pair", () -> session.generateRsaKeyPair(2048, "new", ANY_ID))
                    .with("JDK's provider", Turns.repeated(1, generator::generateKeyPair)), "generate");
        }
    }

    /** The JDK's provider, which keeps the keys that it generates on the token, as the others do. */
    private static Provider provider(String module, long slot) throws Exception {
        Path configuration = Files.createTempFile("provider", ".cfg");
        Files.write(configuration, Arrays.asList("name = bench", "library = " + module, "slot = " + slot,
                "attributes(generate, *, *) = {", "  CKA_TOKEN = true", "}"));
        Provider provider = Security.getProvider("SunPKCS11").configure(configuration.toString());
        Files.delete(configuration);
        return provider;
    }

    private static void onSoftwareToken(String module, byte[] certificate) throws Exception {
        String reader = Token.readers(module).get(0).getName();
        Token token = new Token(module, reader);
        byte[] id = {1};
        try (Pin pin = Pin.of(PIN.toCharArray()); Pin puk = Pin.of("87654321".toCharArray())) {
            token.initialize(puk);
            try (TokenSession session = token.open(pin);
                    Peers peers = new Peers(module, token.findReader().getSlot(), PIN)) {
                String job = "import " + certificate.length;
                Turns.Work work = () -> session.importCertificate("certificate", id, certificate);
                Turns.Contestant importing = Turns.repeated(10, work);
                Turns.Contestant cleaning = Turns.repeated(1, session::clean);
                Turns.head("Software token, open sessions: a certificate of " + certificate.length + " bytes",
                        "of the session's");
                // Everybody destroys what it has imported itself.
                peers.join(new Turns("import a certificate").with("session", importing.before(cleaning)),
                        peer -> peer.repeating(10, job).before(peer.repeating(1, "clean"))).take(5, 20);
                peers.join(new Turns("destroy 10 objects").with("session", cleaning.after(importing)),
                        peer -> peer.repeating(1, "clean").after(peer.repeating(10, job))).take(5, 20);
                work.run();
                session.generateGostKeyPair("key", id);
            }
            Turns.head("Software token: threads on one reader, wall-clock time", "of one thread's");
            share("read a certificate", token, pin, 800, session -> session.readCertificateBytes("certificate", id));
            share("list 3 objects", token, pin, 800, TokenSession::listObjects);
            RequestContent content = RequestContent.builder().subject("CN", "Threads").build();
            share("sign a request", token, pin, 80, session -> session.createRequest(ObjectId.of(id), content));
        }
    }

    private static void share(String what, Token token, Pin pin, int jobs, Threads.Job job) throws Exception {
        try (Threads one = new Threads(1, token, pin, jobs, job); Threads eight = new Threads(8, token, pin, jobs, job)) {
            new Turns(what).with("1 thread", one::measure).with("8 threads, 8 sessions", eight::measure).take(3, 40);
        }
    }

    private static void listByNatives(String module, String reader) {
        check(Pkcs11Wrapper.listObjects(reader, module, PIN_BYTES, new ArrayList<>()) == 0, "the natives do not list");
    }

    private static void readByNatives(String module, String reader, String label) {
        check(Pkcs11Wrapper.getX509Certificate(reader, module, PIN_BYTES, label, ANY_ID, new ArrayList<>()) == 0,
                "the natives do not read");
    }

    private static void check(boolean good, String what) {
        if (!good) {
            throw new IllegalStateException(what);
        }
    }
}
