// SPDX-License-Identifier: Apache-2.0
package bench;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.KeyStore;
import java.security.Provider;
import java.security.Security;
import java.util.ArrayList;

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

    private static void head(String title) {
        System.out.printf("%n### %s%n%n| | | µs | of the session's |%n|---|---|---|---|%n", title);
    }

    private static void onInstantModule(String module) throws Exception {
        String reader = "Reader 0";
        String label = "object";
        byte[] id = {1, 2};
        System.loadLibrary("plain_jni");
        PlainJni.open(module);
        try (Peers peers = new Peers(module, 0); Pin pin = Pin.of(PIN.toCharArray());
                TokenSession session = new Token(module, reader).open(pin)) {
            check(session.listObjects().equals(PlainJni.listObjects()), "the plain function lists something else");
            head("Instant module: 102 objects, a certificate of 1,000 bytes");
            Turns list = new Turns("list 102 objects").with("session", Turns.repeated(20, session::listObjects))
                    .with("plain JNI", Turns.repeated(20, PlainJni::listObjects))
                    .with("natives", Turns.repeated(5, () -> listByNatives(module, reader)));
            peers.join(list, 5, "list").take(200, 100);
            Turns read = new Turns("read a certificate")
                    .with("session", Turns.repeated(200, () -> session.readCertificateBytes(label, id)))
                    .with("plain JNI", Turns.repeated(200, () -> PlainJni.readCertificate(label, id)))
                    .with("natives", Turns.repeated(5, () -> readByNatives(module, reader, label)));
            peers.join(read, 20, "certificate " + label).take(200, 100);
        }
    }

    private static void onSoftHsm(String module) throws Exception {
        Reader reader = Token.readers(module).stream()
                .filter(found -> found.getToken().filter(token -> token.getLabel().equals("bench")).isPresent())
                .findFirst().orElseThrow(IllegalStateException::new);
        Token token = new Token(module, reader.getName());
        head("SoftHSM2: " + CERTIFICATES + " certificates, one after the other");
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
            head("SoftHSM2, open sessions: " + CERTIFICATES + " certificates, one with its key");
            besidePeers(module, reader.getSlot(), token, pin);
        }
    }

    private static void besidePeers(String module, long slot, Token token, Pin pin) throws Exception {
        Path configuration = Files.createTempFile("provider", ".cfg");
        Files.write(configuration, ("name = bench\nlibrary = " + module + "\nslot = " + slot + "\n").getBytes(
                StandardCharsets.UTF_8));
        Provider provider = Security.getProvider("SunPKCS11").configure(configuration.toString());
        KeyStore keys = KeyStore.getInstance("PKCS11", provider);
        Files.delete(configuration);
        try (Peers peers = new Peers(module, slot); TokenSession session = token.open(pin)) {
            Turns list = new Turns("list").with("session", Turns.repeated(1, session::listObjects))
                    .with("JDK's provider", Turns.repeated(1, () -> keys.load(null, PIN.toCharArray())));
            peers.join(list, 1, "list").take(10, 30);
            Turns read = new Turns("read a certificate")
                    .with("session", Turns.repeated(20, () -> session.readCertificateBytes("certificate7", ANY_ID)))
                    .with("JDK's provider", Turns.repeated(20, () -> keys.getCertificate("certificate7").getEncoded()));
            peers.join(read, 20, "certificate certificate7").take(10, 30);
        }
    }

    private static void onSoftwareToken(String module, byte[] certificate) throws Exception {
        Token token = new Token(module, Token.readers(module).get(0).getName());
        try (Pin pin = Pin.of(PIN.toCharArray()); Pin puk = Pin.of("87654321".toCharArray())) {
            token.initialize(puk);
            try (TokenSession session = token.open(pin)) {
                session.importCertificate("certificate", new byte[] {1}, certificate);
            }
            System.out.printf("%n### Software token: certificates read, wall-clock time%n%n"
                    + "| | | µs | of one thread's |%n|---|---|---|---|%n");
            new Turns("read a certificate")
                    .with("1 thread", new Threads(1, token, pin)::measure)
                    .with("8 threads, 8 sessions", new Threads(8, token, pin)::measure)
                    .take(3, 15);
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

    /** Bindings for other languages, as far as this machine has them. */
    private static final class Peers implements AutoCloseable {
        private final Peer python;
        private final Peer node;

        Peers(String module, long slot) throws Exception {
            String folder = System.getProperty("bench.peers");
            python = Peer.start("PyKCS11", System.getProperty("bench.python"), folder + "/pykcs11_peer.py", module, slot,
                    PIN);
            node = Peer.start("pkcs11js", "node", folder + "/pkcs11js_peer.js", module, slot, PIN);
        }

        Turns join(Turns turns, int times, String job) {
            if (python != null) {
                turns.with("PyKCS11", python.repeating(times, job));
            }
            if (node != null) {
                turns.with("pkcs11js", node.repeating(times, job));
            }
            return turns;
        }

        @Override
        public void close() {
            if (python != null) {
                python.close();
            }
            if (node != null) {
                node.close();
            }
        }
    }
}
