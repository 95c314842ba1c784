// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.NONE;
import static jvm.support.Scripted.ascii;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.programs.LoggedInElsewhere;
import jvm.support.ChildJvm;
import jvm.support.KeyTool;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.Scripted;
import jvm.support.SoftHsm;

import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

import java.math.BigInteger;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;

/** The natives upon a PKCS #11 module of other people's. */
class SoftHsmTest {
    private static final String MODULE = SoftHsm.MODULE;
    private static final byte[] PIN = ascii(SoftHsm.PIN);
    private static final byte[] SO_PIN = ascii(SoftHsm.SO_PIN);
    private static final byte[] NEW_PIN = ascii("new PIN");
    private static final byte[] ID = {(byte) 0xca, (byte) 0xfe};

    private String reader;

    @BeforeAll
    static void loadLibrary() {
        System.loadLibrary("VornixToken_Javalib");
    }

    @BeforeEach
    void makeToken() throws Exception {
        reader = SoftHsm.newToken();
    }

    @Test
    void theTokenTellsOfItself() {
        String[] label = new String[1];
        String[] manufacturer = new String[1];
        String[] flags = new String[1];

        assertEquals(0, Pkcs11Wrapper.getTokenInfo(reader, MODULE, label, manufacturer, null, null, flags));

        assertEquals("jvm", label[0]);
        assertEquals("SoftHSM project", manufacturer[0]);
        assertEquals("000000000000042d", flags[0]);
    }

    @Test
    void bothPinsChange() {
        assertEquals(0, Pkcs11Wrapper.setPin(reader, MODULE, PIN, NEW_PIN));
        assertEquals(0xA0, Pkcs11Wrapper.setPin(reader, MODULE, PIN, NEW_PIN));
        assertEquals(0, Pkcs11Wrapper.setPin(reader, MODULE, NEW_PIN, PIN));
        assertEquals(0xA2, Pkcs11Wrapper.setPin(reader, MODULE, PIN, ascii("1")));

        assertEquals(0, Pkcs11Wrapper.setPuk(reader, MODULE, SO_PIN, NEW_PIN));
        assertEquals(0xA0, Pkcs11Wrapper.setPuk(reader, MODULE, SO_PIN, NEW_PIN));
    }

    @Test
    void aGeneratedPairIsListedReadAndCleaned() {
        assertEquals(0, Pkcs11Wrapper.generateKeyPair(reader, MODULE, PIN, 2048, "pair \u03a9", ID));

        List<String> listed = objects().stream()
                .map(object -> String.join(" ", object.getType(), object.getLabel(), object.getId(),
                        object.getKeyType()))
                .sorted().collect(Collectors.toList());
        assertEquals(List.of("private key pair \u03a9 cafe RSA", "public key pair \u03a9 cafe RSA"), listed);

        ArrayList<Byte> modulus = new ArrayList<>();
        ArrayList<Byte> exponent = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.getPublicKey(reader, MODULE, PIN, "pair \u03a9", NONE, modulus, exponent));
        assertEquals(2048, new BigInteger(1, Scripted.array(modulus)).bitLength());
        assertEquals(Scripted.list(1, 0, 1), exponent);

        assertEquals(0, Pkcs11Wrapper.cleanCard(reader, MODULE, PIN));
        assertTrue(objects().isEmpty());
    }

    @Test
    void aCertificateStoredByAnotherToolIsReadBack(@TempDir Path folder) throws Exception {
        byte[] stored = KeyTool.certificate("CN=Alice").getEncoded();
        Path file = Files.write(folder.resolve("certificate.der"), stored);
        Processes.run(System.getProperty("vornix.pkcs11.tool"), "--module", MODULE, "--token-label", "jvm", "--login",
                "--pin", SoftHsm.PIN, "--write-object", file.toString(), "--type", "cert", "--label", "alice",
                "--id", "cafe");

        ArrayList<Byte> certificate = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.getX509Certificate(reader, MODULE, PIN, "alice", ID, certificate));

        assertArrayEquals(stored, Scripted.array(certificate));
    }

    @Test
    void theModulesRefusalsPassThrough() {
        assertEquals(0x70, Pkcs11Wrapper.generateGostR3410_2001KeyPair(reader, MODULE, PIN, "x", ID));
        assertEquals(0xD0, Pkcs11Wrapper.generateKeyPair(reader, MODULE, PIN, 0, "x", ID));
        assertEquals(7, Pkcs11Wrapper.cleanCard(reader, MODULE, NONE));
        assertTrue(objects().isEmpty());
    }

    @ParameterizedTest
    @ValueSource(strings = {"sign", "request"})
    void whatTheModuleCannotDoIsRefusedBesideAForeignLogin(String job) throws Exception {
        Result result = new ChildJvm().options("-Dvornix.softhsm.module=" + MODULE)
                .run(LoggedInElsewhere.class, job, reader);

        assertEquals("CKR_FUNCTION_NOT_SUPPORTED\n", result.out, result::toString);
    }

    @Test
    void anInitialisedTokenHasTheLibrarysLabel() {
        assertEquals(0, Pkcs11Wrapper.initCard(reader, MODULE, SO_PIN));

        String[] label = new String[1];
        assertEquals(0, Pkcs11Wrapper.getTokenInfo(reader, MODULE, label, null, null, null, null));
        assertEquals("VORNIX Token", label[0]);
        assertEquals(0x102, Pkcs11Wrapper.cleanCard(reader, MODULE, PIN), "no user PIN is set");
    }

    private ArrayList<Pkcs11ObjectAttribute> objects() {
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.listObjects(reader, MODULE, PIN, objects));
        return objects;
    }
}
