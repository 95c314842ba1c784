package jvm;

import static jvm.support.Scripted.list;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.Scripted;
import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

import java.util.ArrayList;
import java.util.Random;
import java.util.stream.Stream;

@Tag("natives")
class CertificatesAndKeysTest extends ScriptedToken {
    private static final byte[] ALICE = {1};
    private static final byte[] NEW_ID = {(byte) 0x80, 0x7f};

    @Test
    void aCertificateArrivesByteForByte() {
        ArrayList<Byte> certificate = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "alice", ALICE, certificate));

        assertEquals(list(0x30, 0x03, 0x02, 0x01, 0x80), certificate);
        assertEquals(Byte.MIN_VALUE, certificate.get(4));
    }

    @Test
    void bytesAreAppendedBehindWhatTheListHolds() {
        ArrayList<Byte> certificate = list(1, 2);

        assertEquals(0, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "alice", NONE, certificate));

        assertEquals(list(1, 2, 0x30, 0x03, 0x02, 0x01, 0x80), certificate);
    }

    @Test
    void anEmptyIdIsLeftOutOfTheSearch() {
        String search = Transcript.line("C_FindObjectsInit",
                () -> Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "alice", NONE, new ArrayList<>()));

        assertEquals("C_FindObjectsInit(session, {CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL \"alice\" [5]}): CKR_OK",
                search);
    }

    @Test
    void listsStayAsTheyAreOnFailure() {
        ArrayList<Byte> bytes = list(1);

        assertEquals(6, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "nobody", ALICE, bytes));
        assertEquals(6, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "alice", NEW_ID, bytes));
        assertEquals(0xA0, Pkcs11Wrapper.getX509Certificate(READER, module, WRONG_PIN, "alice", ALICE, bytes));
        assertEquals(6, Pkcs11Wrapper.getX509Certificate("Another Reader", module, PIN, "alice", ALICE, bytes));
        assertEquals(1, Pkcs11Wrapper.getX509Certificate(READER, "./absent.so", PIN, "alice", ALICE, bytes));
        assertEquals(6, Pkcs11Wrapper.getPublicKey(READER, module, PIN, "nobody", ALICE, bytes, bytes));
        assertEquals(0xA0, Pkcs11Wrapper.getPublicKey(READER, module, WRONG_PIN, "alice", ALICE, bytes, bytes));

        assertEquals(list(1), bytes);
    }

    @Test
    void aPublicKeyArrivesAsModulusAndExponent() {
        ArrayList<Byte> modulus = list(5);
        ArrayList<Byte> exponent = list(6);

        assertEquals(0, Pkcs11Wrapper.getPublicKey(READER, module, PIN, "alice", ALICE, modulus, exponent));

        assertEquals(list(5, 0xc3, 0x00, 0x7f, 0x80), modulus);
        assertEquals(list(6, 0x01, 0x00, 0x01), exponent);
    }

    @Test
    void aGostKeyHasNoModulus() {
        ArrayList<Byte> modulus = new ArrayList<>();

        assertEquals(0x12, Pkcs11Wrapper.getPublicKey(READER, module, PIN, "boris", NONE, modulus, modulus));

        assertTrue(modulus.isEmpty());
    }

    @Test
    @Tag("large")
    void anImportedCertificateIsReadBack() {
        byte[] value = new byte[1 << 20];
        new Random(1).nextBytes(value);
        ArrayList<Byte> certificate = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, "large", NEW_ID, value));
        assertEquals(0, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "large", NEW_ID, certificate));

        assertArrayEquals(value, Scripted.array(certificate));
    }

    @Test
    void anEmptyCertificateLeavesTheListAsItIs() {
        ArrayList<Byte> certificate = list(1);

        assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, "empty", NONE, NONE));
        assertEquals(0, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "empty", NONE, certificate));

        assertEquals(list(1), certificate);
    }

    @ParameterizedTest(name = "{0}")
    @MethodSource
    void textsReachTheModuleAsModifiedUtf8(String name, String label, String bytes) {
        assertEquals("C_FindObjectsInit(session, {CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL " + bytes + "}): CKR_OK",
                searchForCertificate(label));
    }

    static Stream<Arguments> textsReachTheModuleAsModifiedUtf8() {
        return Stream.of(
                Arguments.of("ASCII", "plain", "\"plain\" [5]"),
                Arguments.of("U+0000", "Z\u0000", "5ac080 [3]"),
                Arguments.of("Latin and Greek", "\u00e9\u03a9", "c3a9cea9 [4]"),
                Arguments.of("Chinese", "\u6f22", "e6bca2 [3]"),
                Arguments.of("beyond U+FFFF", "\uD83D\uDE00", "eda0bdedb880 [6]"),
                Arguments.of("lone surrogate", "\uD83D", "eda0bd [3]"));
    }

    @Test
    void anEmptyLabelIsPartOfTheSearch() {
        String search = searchForCertificate("");

        assertTrue(search.matches(".*CKA_LABEL .*\\[0]}\\): CKR_OK"), search);
    }

    @Test
    void aLabelOfManyAlphabetsIsListedAsItWasGiven() {
        String label = "Zo\u00eb \u03a9 \u6f22\u5b57 \uD83D\uDE00 end";

        assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, label, NEW_ID, NONE));
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, PIN, objects));

        assertEquals(label, objects.get(6).getLabel());
        assertEquals("807f", objects.get(6).getId());
    }

    @Test
    void loadCertHandsItsBlocksOverInOrder() {
        String call = Transcript.line("C_TOVR_ImportCert", () -> assertEquals(0,
                Pkcs11Wrapper.loadCert(READER, module, Scripted.ascii("first"), Scripted.ascii("second"), PIN)));

        assertEquals("C_TOVR_ImportCert(session, first \"first\" [5], second \"second\" [6]): CKR_OK", call);
    }

    @Test
    void loadCertTakesThePinLast() {
        assertEquals(0xA0, Pkcs11Wrapper.loadCert(READER, module, PIN, NONE, WRONG_PIN));
    }

    @Test
    void anImportNeedsThePin() {
        assertEquals(0xA0, Pkcs11Wrapper.loadX509Certificate(READER, module, WRONG_PIN, "label", ALICE, NONE));
    }

    @Test
    void anRsaPairIsGeneratedUnderLabelAndId() {
        String call = Transcript.line("C_GenerateKeyPair",
                () -> assertEquals(0, Pkcs11Wrapper.generateKeyPair(READER, module, PIN, 2048, "new", NEW_ID)));

        assertTrue(call.startsWith("C_GenerateKeyPair(session, CKM_RSA_PKCS_KEY_PAIR_GEN null [0], "), call);
        assertTrue(call.contains("CKA_LABEL \"new\" [3], CKA_ID 807f [2]"), call);
        ArrayList<Byte> modulus = new ArrayList<>();
        ArrayList<Byte> exponent = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.getPublicKey(READER, module, PIN, "new", NEW_ID, modulus, exponent));
        assertEquals(256, modulus.size());
        assertEquals(list(1, 0, 1), exponent);
    }

    @Test
    void modulusBitsReachTheModuleUnchanged() {
        for (long bits : new long[] {0, 1, 4096, Long.MAX_VALUE, -1}) {
            String call = Transcript.line("C_GenerateKeyPair",
                    () -> assertEquals(0, Pkcs11Wrapper.generateKeyPair(READER, module, PIN, bits, "", NONE)));
            assertTrue(call.contains("CKA_MODULUS_BITS " + Long.toUnsignedString(bits) + " [8]"), call);
        }
    }

    @Test
    void aGostPairIsGeneratedUnderLabelAndId() {
        String call = Transcript.line("C_GenerateKeyPair",
                () -> assertEquals(0, Pkcs11Wrapper.generateGostR3410_2001KeyPair(READER, module, PIN, "new", NEW_ID)));

        assertTrue(call.startsWith("C_GenerateKeyPair(session, CKM_GOSTR3410_KEY_PAIR_GEN null [0], "), call);
        assertTrue(call.contains("CKA_LABEL \"new\" [3], CKA_ID 807f [2]"), call);
    }

    @Test
    void keyPairsNeedThePin() {
        assertEquals(0xA0, Pkcs11Wrapper.generateKeyPair(READER, module, WRONG_PIN, 2048, "new", NEW_ID));
        assertEquals(0xA0, Pkcs11Wrapper.generateGostR3410_2001KeyPair(READER, module, WRONG_PIN, "new", NEW_ID));
    }

    /** Looks for a certificate that is not there and returns the search as the module received it. */
    private String searchForCertificate(String label) {
        return Transcript.line("C_FindObjectsInit", () -> assertEquals(6,
                Pkcs11Wrapper.getX509Certificate(READER, module, PIN, label, NONE, new ArrayList<>())));
    }
}
