// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenObject;

import jvm.programs.SeveralModules;
import jvm.support.Authority;
import jvm.support.ChildJvm;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.Threads;

import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.cert.X509Certificate;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Optional;
import java.util.stream.Collectors;

/** A token with the vendor's functions, from its first initialisation to a signature that OpenSSL judges. */
@Tag("softtoken")
class SoftTokenTest {
    private static final String MODULE = System.getProperty("vornix.softtoken");
    private static final byte[] ID = {(byte) 0xca, (byte) 0xfe};
    private static final byte[] CONTENT = "I owe you \u00a31".getBytes(StandardCharsets.UTF_8);
    private static final int ENCLOSED = 0;
    private static final int DETACHED = 1;

    private final Token token = new Token(MODULE, "Vornix Soft Reader 00 00");
    private final Pin pin = Pin.of("12345678".toCharArray());

    @BeforeEach
    void initialize() throws Pkcs11Exception {
        try (Pin puk = Pin.of("87654321".toCharArray())) {
            token.initialize(puk);
        }
    }

    @AfterEach
    void wipe() {
        pin.close();
    }

    @Test
    void aNewTokenIsEmptyUnderTheLibrarysLabel() throws Exception {
        assertEquals("VORNIX Token", token.readInfo().getLabel());
        assertTrue(token.listObjects(pin).isEmpty());
    }

    @Test
    void aRequestBecomesACertificateAndSigns(@TempDir Path folder) throws Exception {
        X509Certificate certificate = certify(folder);

        token.importCertificate(pin, "alice", ID, certificate);

        assertEquals(certificate, token.readCertificate(pin, "alice", ID));
        assertEquals(certificate.getPublicKey(), token.readPublicKey(pin, "alice"));
        assertEquals(Arrays.asList("certificate", "private key", "public key"),
                token.listObjects(pin).stream().map(object -> object.getKind().toString()).sorted()
                        .collect(Collectors.toList()));

        byte[] enclosed = token.sign(pin, CONTENT, ID, ID, ENCLOSED, ID);
        token.verify(enclosed, null);
        assertJudgedGood(folder, enclosed);

        byte[] detached = token.sign(pin, CONTENT, ID, ID, DETACHED);
        token.verify(detached, CONTENT);
        assertJudgedGood(folder, detached, "-content", write(folder, "content", CONTENT));
        Pkcs11Exception refused = assertThrows(Pkcs11Exception.class, () -> token.verify(detached, new byte[] {1}));
        assertEquals("CKR_SIGNATURE_INVALID", refused.getCodeName());
    }

    @Test
    void twoBlocksAreTheCertificateAndItsId(@TempDir Path folder) throws Exception {
        X509Certificate certificate = certify(folder);

        token.importCertificateBlocks(pin, certificate.getEncoded(), ID);

        List<TokenObject> stored = token.listObjects(pin).stream()
                .filter(object -> object.getKind() == TokenObject.Kind.CERTIFICATE).collect(Collectors.toList());
        assertEquals(1, stored.size());
        assertArrayEquals(ID, stored.get(0).getId());
        assertEquals(certificate, token.readCertificate(pin, stored.get(0).getLabel()));
    }

    @Test
    void gostKeysAreListedAndRequested() throws Exception {
        token.generateGostKeyPair(pin, "boris", ID);

        assertEquals(Collections.nCopies(2, Optional.of(TokenObject.KeyType.GOSTR3410)),
                token.listObjects(pin).stream().map(TokenObject::getKeyType).collect(Collectors.toList()));
        RequestContent content = RequestContent.builder().subject("CN", "Boris").build();
        assertTrue(token.createRequest(pin, ID, ID, content).length > 0);
    }

    @Test
    void whatCannotBeDoneHasAName() throws Exception {
        token.generateRsaKeyPair(pin, 2048, "alice", ID);

        assertThrows(Pkcs11Exception.class, () -> token.importCertificate(pin, "x", ID, new byte[] {1, 2, 3}));
        assertThrows(Pkcs11Exception.class, () -> token.verify(new byte[] {1, 2, 3}, null));
        assertThrows(Pkcs11Exception.class, () -> token.createRequest(pin, ID, ID,
                RequestContent.builder().subject("no such name", "x").build()));
        assertEquals(2, token.listObjects(pin).size());
    }

    /** SoftHSM2, upon which it is built, exists once in a process. */
    @Test
    void besideSoftHsmItIsInUse(@TempDir Path folder) throws Exception {
        Path configuration = Files.write(folder.resolve("softhsm2.conf"),
                Collections.singletonList("directories.tokendir = " + folder));

        Result result = new ChildJvm().environment("SOFTHSM2_CONF", configuration.toString())
                .run(SeveralModules.class, System.getProperty("vornix.softhsm.module"), MODULE);

        assertEquals("listed\nIN_USE\n", result.out, result::toString);
    }

    @Test
    void eightThreadsWorkOnOneToken(@TempDir Path folder) throws Exception {
        token.importCertificate(pin, "alice", ID, certify(folder));

        Threads.run(8, 10, () -> {
            byte[] message = token.sign(pin, CONTENT, ID, ID, ENCLOSED);
            token.verify(message, null);
            assertEquals(3, token.listObjects(pin).size());
        });
    }

    /** Generates the pair and has OpenSSL make a certificate of its request. */
    private X509Certificate certify(Path folder) throws Exception {
        token.generateRsaKeyPair(pin, 2048, "alice", ID);
        byte[] request = token.createRequest(pin, ID, ID, RequestContent.builder()
                .subject("CN", "Alice \u03a9").subject("C", "NO")
                .extension("keyUsage", true, "digitalSignature")
                .build());
        return Authority.certify(folder, request);
    }

    private static void assertJudgedGood(Path folder, byte[] message, String... further) throws Exception {
        String out = folder.resolve("verified").toString();
        String[] command = {"openssl", "cms", "-verify", "-binary", "-inform", "DER",
            "-in", write(folder, "message", message), "-CAfile", folder.resolve("ca.pem").toString(), "-out", out};
        String[] all = Arrays.copyOf(command, command.length + further.length);
        System.arraycopy(further, 0, all, command.length, further.length);

        Processes.run(all);

        assertArrayEquals(CONTENT, Files.readAllBytes(folder.resolve("verified")));
    }

    private static String write(Path folder, String name, byte[] content) throws Exception {
        return Files.write(folder.resolve(name), content).toString();
    }
}
