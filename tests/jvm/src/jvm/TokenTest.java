// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.ascii;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertDoesNotThrow;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenInfo;
import com.tovr.smartcard.vornixtoken.TokenObject;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.KeyTool;
import jvm.support.ScriptedToken;
import jvm.support.Transcript;
import jvm.support.Values;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.api.io.TempDir;

import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.cert.CertificateException;
import java.security.cert.X509Certificate;
import java.security.interfaces.RSAPublicKey;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.EnumSet;
import java.util.List;
import java.util.Optional;
import java.util.stream.Collectors;

@Tag("natives")
class TokenTest extends ScriptedToken {
    private static final byte[] ALICE = {1};
    private static final byte[] BORIS = {2, (byte) 0xff};
    private static final byte[] NOBODY = {9};

    private Token token;
    private Pin pin;
    private Pin wrong;

    @BeforeEach
    void makeToken() {
        token = new Token(module, READER);
        pin = Pin.of(PIN.clone());
        wrong = Pin.of(WRONG_PIN.clone());
    }

    /** It would be any reader. */
    @Test
    void anEmptyReaderNameIsRefused() {
        IllegalArgumentException failure = assertThrows(IllegalArgumentException.class, () -> new Token(module, " "));
        assertTrue(failure.getMessage().contains("'Scripted Reader 0'"), failure.getMessage());
        assertThrows(IllegalArgumentException.class, () -> new Token("./absent.so", ""));
        assertThrows(IllegalArgumentException.class, () -> Token.resetTerminal(""));
    }

    @Test
    void pinsAndPuksChange() throws Exception {
        Pin other = Pin.of("another PIN".toCharArray());

        token.changePin(pin, other);
        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.listObjects(pin));
        token.changePin(other, pin);

        Pin puk = Pin.of(SO_PIN.clone());
        token.changePuk(puk, other);
        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.changePuk(puk, other));
        token.changePuk(other, puk);
        assertEquals(6, token.listObjects(pin).size());
    }

    @Test
    void initialisingAndCleaningEmptyTheToken() throws Exception {
        token.clean(pin);
        assertTrue(token.listObjects(pin).isEmpty());

        token.initialize(Pin.of(SO_PIN.clone()));
        assertEquals("VORNIX Token", token.readInfo().getLabel());

        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.clean(wrong));
        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.initialize(wrong));
    }

    @Test
    void theTokensInformationIsTyped() throws Exception {
        TokenInfo info = token.readInfo();

        assertEquals("Scripted Token", info.getLabel());
        assertEquals("Scripted Works", info.getManufacturer());
        assertEquals("Scripted Model", info.getModel());
        assertEquals("0123456789abcdef", info.getSerialNumber());
        assertEquals(0x40d, info.getFlagWord());
        assertEquals(EnumSet.of(TokenInfo.Flag.RNG, TokenInfo.Flag.LOGIN_REQUIRED, TokenInfo.Flag.USER_PIN_INITIALIZED,
                TokenInfo.Flag.TOKEN_INITIALIZED), info.getFlags());
        assertEquals("Scripted Token (Scripted Model, 0123456789abcdef)", info.toString());
    }

    @Test
    void objectsAreTyped() throws Exception {
        List<TokenObject> objects = token.listObjects(pin);

        assertEquals(6, objects.size());
        assertEquals(TokenObject.Kind.CERTIFICATE, objects.get(0).getKind());
        assertEquals("alice", objects.get(0).getLabel());
        assertArrayEquals(ALICE, objects.get(0).getId());
        assertEquals(Optional.empty(), objects.get(0).getKeyType());
        assertEquals(Optional.of(TokenObject.KeyType.GOSTR3410), objects.get(3).getKeyType());
        assertArrayEquals(BORIS, objects.get(4).getId());
        assertEquals("02ff", objects.get(4).getIdText());
        assertEquals("private key 'boris' 02ff GOSTR3410", objects.get(4).toString());
        assertEquals(TokenObject.Kind.DATA, objects.get(5).getKind());
        assertEquals(0, objects.get(5).getId().length);
        assertThrows(UnsupportedOperationException.class, () -> objects.remove(0));
    }

    @Test
    void anImportedCertificateIsReadBackAsSuch() throws Exception {
        X509Certificate certificate = KeyTool.certificate("CN=Zo\u00eb, C=NO");

        token.importCertificate(pin, "zo\u00eb \uD83D\uDE00", ALICE, certificate);

        assertEquals(certificate, token.readCertificate(pin, "zo\u00eb \uD83D\uDE00"));
        assertEquals(certificate, token.readCertificate(pin, "zo\u00eb \uD83D\uDE00", ALICE));
        assertArrayEquals(certificate.getEncoded(), token.readCertificateBytes(pin, "zo\u00eb \uD83D\uDE00", ALICE));
        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.readCertificate(pin, "zo\u00eb \uD83D\uDE00", NOBODY));
    }

    @Test
    void whatIsNoCertificateIsNoPkcs11Failure() {
        assertThrows(CertificateException.class, () -> token.readCertificate(pin, "alice"));
    }

    @Test
    void twoBlocksMakeACertificate() throws Exception {
        token.importCertificateBlocks(pin, ascii("first"), ascii("id"));

        assertArrayEquals(ascii("first"), token.readCertificateBytes(pin, "", ascii("id")));
        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.importCertificateBlocks(wrong, ALICE, ALICE));
    }

    @Test
    void aModulusIsUnsigned() throws Exception {
        token.generateRsaKeyPair(pin, 2048, "new", NOBODY);

        RSAPublicKey key = token.readPublicKey(pin, "new");
        assertEquals(key, token.readPublicKey(pin, "new", NOBODY));
        assertEquals(new BigInteger("c1".repeat(256), 16), key.getModulus());
        assertEquals(BigInteger.valueOf(65537), key.getPublicExponent());
        assertRefused(0x12, "CKR_ATTRIBUTE_TYPE_INVALID", () -> token.readPublicKey(pin, "boris"));
    }

    @Test
    void aPairHasTheLengthThatIsAskedFor() {
        String call = Transcript.line("C_GenerateKeyPair",
                () -> assertDoesNotThrow(() -> token.generateRsaKeyPair(pin, 3072, "new", NOBODY)));

        assertTrue(call.contains("CKA_MODULUS_BITS 3072 [8]"), call);
    }

    @Test
    void aPublicKeyIsFoundByLabelAndId() throws Exception {
        token.generateRsaKeyPair(pin, 2048, "new", NOBODY);

        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.readPublicKey(pin, "new", new byte[] {2}));
        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.readPublicKey(pin, "old", NOBODY));
        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.readPublicKey(pin, "old"));
    }

    @Test
    void aGostPairIsGenerated() throws Exception {
        token.generateGostKeyPair(pin, "new", NOBODY);

        assertEquals(Arrays.asList("public key 'new' 09 GOSTR3410", "private key 'new' 09 GOSTR3410"),
                token.listObjects(pin).stream().map(TokenObject::toString).filter(text -> text.contains("new"))
                        .collect(Collectors.toList()));
        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.generateGostKeyPair(wrong, "new", NOBODY));
        assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.generateRsaKeyPair(wrong, 2048, "new", NOBODY));
    }

    @Test
    void signingReturnsTheMessage() throws Exception {
        assertEquals("certificate 101;private 105;certificates null;flags 1;data",
                latin(token.sign(pin, ascii("data"), ALICE, BORIS, 1)));
        assertEquals("certificate 101;private 103;certificates {101, 101};flags 0;",
                latin(token.sign(pin, NONE, ALICE, ALICE, 0, ALICE, ALICE)));
        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.sign(pin, NONE, NOBODY, ALICE, 0));
    }

    @Test
    void verificationThrowsUnlessTheMessageIsGood() throws Exception {
        token.verify(ascii("same"), ascii("same"));
        token.verify(null, null);

        assertRefused(0xC0, "CKR_SIGNATURE_INVALID", () -> token.verify(ascii("one"), ascii("other")));
    }

    @Test
    void verificationInputsKeepTheirOrder() {
        assertEquals("C_TOVR_pkcs7Verify(first \"one\" [3], second \"other\" [5]): CKR_SIGNATURE_INVALID",
                Transcript.line("C_TOVR_pkcs7Verify", () -> assertRefused(0xC0, "CKR_SIGNATURE_INVALID",
                        () -> token.verify(ascii("one"), ascii("other")))));
    }

    @Test
    void aRequestHoldsWhatWasCollected() throws Exception {
        RequestContent content = RequestContent.builder()
                .subject("CN", "Alice").subject("C", "NO")
                .attribute("challengePassword", "word")
                .extension("keyUsage", true, "digitalSignature").extension("extendedKeyUsage", false, "clientAuth")
                .build();

        assertEquals("public 102;private 103;subject(2):CN,Alice,C,NO;attributes(1):challengePassword,word;"
                + "extensions(2):keyUsage,critical,digitalSignature,extendedKeyUsage,,clientAuth;",
                latin(token.createRequest(pin, ALICE, ALICE, content)));
        assertEquals("public 102;private 105;subject(0):;attributes(0):;extensions(0):;",
                latin(token.createRequest(pin, ALICE, BORIS, RequestContent.builder().build())));
        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.createRequest(pin, NOBODY, ALICE, content));
    }

    @Test
    void successWithoutAResultIsAFailure() throws Exception {
        token.importCertificate(pin, "empty", NONE, NONE);

        Pkcs11Exception failure = assertRefused(0, "CKR_OK", () -> token.readCertificateBytes(pin, "empty", NONE));
        assertTrue(failure.getMessage().endsWith("CKR_OK (0x0) from C_GetAttributeValue, but nothing was delivered"), failure.getMessage());
    }

    @Test
    void aFailureTellsWhatWasTriedAndWhy() {
        Pkcs11Exception failure = assertRefused(0xA0, "CKR_PIN_INCORRECT", () -> token.readCertificate(wrong, "alice"));

        assertEquals("reading certificate 'alice', token in reader 'Scripted Reader 0' of module " + module,
                failure.getAction());
        assertEquals(failure.getAction() + ": CKR_PIN_INCORRECT (0xA0) from C_Login", failure.getMessage());
        assertEquals(Reason.WRONG_PIN, failure.getReason());
        assertEquals("C_Login", failure.getStep());
        assertEquals("Login failed. Code: 160\n", failure.getDiagnostics());
        assertFalse(failure.isVendorDefined());
    }

    @Test
    void itIsEqualToWhatNamesTheSame() {
        Values.assertEqual(token, new Token(module, READER));
        Values.assertDistinct(token, new Token(module, "Another"), new Token("./absent.so", READER));
        assertEquals("token in reader 'Scripted Reader 0' of module " + module, token.toString());
    }

    @Test
    void unknownReadersAndModulesAreTold() {
        Pkcs11Exception reader = assertRefused(3, "CKR_SLOT_ID_INVALID", () -> new Token(module, "Another").readInfo());
        assertEquals(Reason.NO_READER, reader.getReason());
        assertTrue(reader.getMessage().endsWith(": no such reader. There are: 'Scripted Reader 0'"), reader.getMessage());

        Pkcs11Exception absent = assertRefused(5, "CKR_GENERAL_ERROR",
                () -> new Token("./absent.so", READER).readInfo());
        assertEquals(Reason.NO_MODULE, absent.getReason());
        assertTrue(absent.getMessage().endsWith("No such file or directory"), absent.getMessage());
    }

    @Test
    void aModulesPathMayHoldBlanksAndAnyAlphabet(@TempDir Path folder) throws Exception {
        Path odd = Files.copy(Paths.get(module), folder.resolve("m o d\u00eb \u6f22.so"));
        assertEquals("Scripted Token", new Token(odd.toString(), READER).readInfo().getLabel());

        Path beyondTheBasicPlane = Files.copy(odd, folder.resolve("\uD83D\uDE00.so"));
        assertEquals("Scripted Token", new Token(beyondTheBasicPlane.toString(), READER).readInfo().getLabel());
    }

    @Test
    void whatIsReadRawKeepsItsPadding() throws Exception {
        byte[] padded = {0x30, 0, 0, 0};
        token.importCertificate(pin, "padded", NONE, padded);

        assertArrayEquals(padded, token.readCertificateBytes(pin, "padded", NONE));
    }

    @Test
    void zerosBehindMessagesAndRequestsAreCutOff() throws Exception {
        String padding = System.getProperty("vornix.padding.module");
        ArrayList<Byte> raw = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, padding, PIN, NONE, NONE, NONE, null, 0, raw));
        assertEquals(64, raw.size());

        byte[] sequence = {0x30, 3, 2, 1, 7};
        Token padded = new Token(padding, READER);
        assertArrayEquals(sequence, padded.sign(pin, NONE, NONE, NONE, 0));
        assertArrayEquals(sequence, padded.createRequest(pin, NONE, NONE, RequestContent.builder().build()));
    }

    @Test
    void aKeysLabelMayHoldTheNullCharacter() throws Exception {
        token.generateRsaKeyPair(pin, 2048, "a\0b", NONE);

        assertEquals(2048, token.readPublicKey(pin, "a\0b").getModulus().bitLength());
        assertTrue(token.listObjects(pin).stream().anyMatch(object -> object.getLabel().equals("a\0b")));
        assertRefused(6, "CKR_FUNCTION_FAILED", () -> token.readPublicKey(pin, "a"));
    }

    @Test
    void verificationNeedsNoReader() throws Exception {
        Token.verify(module, ascii("same"), ascii("same"));

        Pkcs11Exception failure = assertRefused(0xC0, "CKR_SIGNATURE_INVALID",
                () -> Token.verify(module, ascii("one"), ascii("other")));
        assertEquals("verifying, module " + module, failure.getAction());
    }

    @Test
    void resettingAReaderThatDoesNotExistIsRefused() {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class,
                () -> Token.resetTerminal("Reader of no such name"));
        assertTrue(failure.getStep().startsWith("SCard"), failure.getMessage());
        assertTrue(failure.getCodeName().startsWith("SCARD_"), failure.getMessage());
    }

    private static Pkcs11Exception assertRefused(long code, String name, Executable call) {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, call);
        assertEquals(code, failure.getCode());
        assertEquals(name, failure.getCodeName());
        return failure;
    }

    private static String latin(byte[] bytes) {
        return new String(bytes, StandardCharsets.ISO_8859_1);
    }
}
