package jvm;

import static jvm.support.Scripted.ascii;
import static jvm.support.Scripted.list;
import static jvm.support.Scripted.text;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.util.ArrayList;

@Tag("natives")
class SignaturesAndRequestsTest extends ScriptedToken {
    private static final byte[] ALICE = {1};
    private static final byte[] NOBODY = {9};

    @Test
    void aMessageNamesCertificateKeyFurtherCertificatesAndFlags() {
        ArrayList<Byte> message = list('<');

        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, ascii("data"), ALICE, ALICE,
                new byte[][] {ALICE, ALICE}, 5, message));

        assertEquals("<certificate 101;private 103;certificates {101, 101};flags 5;data", text(message));
    }

    @Test
    void emptyIdsNameNothing() {
        ArrayList<Byte> message = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, NONE, NONE, null, -1, message));
        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, NONE, NONE, new byte[0][], 0, message));

        assertEquals("certificate 0;private 0;certificates null;flags 18446744073709551615;"
                + "certificate 0;private 0;certificates null;flags 0;", text(message));
    }

    @Test
    void ofTheFurtherCertificatesOnlyTheLastMustExist() {
        ArrayList<Byte> message = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, ALICE, ALICE,
                new byte[][] {ALICE, NOBODY, ALICE}, 0, message));
        assertEquals("certificate 101;private 103;certificates {101, 0, 101};flags 0;", text(message));

        assertEquals(6, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, ALICE, ALICE,
                new byte[][] {ALICE, NOBODY}, 0, message));
        assertEquals("certificate 101;private 103;certificates {101, 0, 101};flags 0;", text(message));
    }

    @Test
    void whatIsMissingOrRefusedLeavesTheListAsItIs() {
        ArrayList<Byte> out = list(1);

        assertEquals(6, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, NOBODY, ALICE, null, 0, out));
        assertEquals(6, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, ALICE, NOBODY, null, 0, out));
        assertEquals(0xA0, Pkcs11Wrapper.pkcs7Sign(READER, module, WRONG_PIN, NONE, ALICE, ALICE, null, 0, out));
        assertEquals(6, Pkcs11Wrapper.createCSR(READER, module, PIN, NOBODY, ALICE, null, null, null, out));
        assertEquals(6, Pkcs11Wrapper.createCSR(READER, module, PIN, ALICE, NOBODY, null, null, null, out));
        assertEquals(0xA0, Pkcs11Wrapper.createCSR(READER, module, WRONG_PIN, ALICE, ALICE, null, null, null, out));
        assertEquals(1, Pkcs11Wrapper.createCSR(READER, "./absent.so", PIN, ALICE, ALICE, null, null, null, out));

        assertEquals(list(1), out);
    }

    @Test
    @Tag("large")
    void aLargeMessageComesBackWhole() {
        byte[] data = new byte[1 << 20];
        ArrayList<Byte> message = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, data, NONE, NONE, null, 0, message));

        assertEquals(data.length + "certificate 0;private 0;certificates null;flags 0;".length(), message.size());
    }

    @Test
    void verificationReturnsTheModulesVerdict() {
        assertEquals(0, Pkcs11Wrapper.pkcs7Verify(module, ascii("same"), ascii("same")));
        assertEquals(0xC0, Pkcs11Wrapper.pkcs7Verify(module, ascii("one"), ascii("other")));
    }

    @Test
    void verificationInputsMayBeNullOrEmpty() {
        String call = Transcript.line("C_TOVR_pkcs7Verify",
                () -> assertEquals(0, Pkcs11Wrapper.pkcs7Verify(module, null, NONE)));

        assertEquals("C_TOVR_pkcs7Verify(first null [0], second null [0]): CKR_OK", call);
    }

    @Test
    void verificationAsksForNoSlotBeyondTheProbe() {
        assertEquals(1, Transcript.during(() -> Pkcs11Wrapper.pkcs7Verify(module, NONE, NONE)).stream()
                .filter(call -> call.startsWith("C_GetSlotList")).count());
    }

    @Test
    void aRequestHandsOverItsTextsInPairsAndTriples() {
        ArrayList<Byte> request = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.createCSR(READER, module, PIN, ALICE, ALICE,
                new String[] {"CN", "Alice", "C", "NO"},
                new String[] {"challengePassword", "word"},
                new String[] {"keyUsage", "critical", "digitalSignature"}, request));

        assertEquals("public 102;private 103;subject(2):CN,Alice,C,NO;attributes(1):challengePassword,word;"
                + "extensions(1):keyUsage,critical,digitalSignature;", text(request));
    }

    @Test
    void textsLeftOverAreNotCounted() {
        ArrayList<Byte> request = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.createCSR(READER, module, PIN, NONE, NONE, new String[] {"a", "b", "c"},
                new String[] {"d"}, new String[] {"e", "f", "g", "h", "i"}, request));

        assertEquals("public 0;private 0;subject(1):a,b;attributes(0):;extensions(1):e,f,g;", text(request));
    }

    @Test
    void aRequestWithoutTextsIsAllowed() {
        ArrayList<Byte> request = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.createCSR(READER, module, PIN, ALICE, ALICE, null, new String[0], null, request));

        assertEquals("public 102;private 103;subject(0):;attributes(0):;extensions(0):;", text(request));
    }

    @Test
    void aNulCharacterDoesNotCutATextShort() {
        ArrayList<Byte> request = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.createCSR(READER, module, PIN, NONE, NONE,
                new String[] {"CN", "a\u0000b \uD83D\uDE00"}, null, null, request));

        assertTrue(text(request).contains("subject(1):CN,a\u00c0\u0080b \u00ed\u00a0\u00bd\u00ed\u00b8\u0080;"),
                () -> text(request));
    }
}
