// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.ascii;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.params.provider.Arguments.arguments;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.ReturnCodes;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.ScriptedToken;
import jvm.support.SoftHsm;
import jvm.support.Transcript;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.stream.Stream;

/** Why a job was refused, and where. */
@Tag("sessions")
class ReasonsTest extends ScriptedToken {
    private static final byte[] ALICE = {1};

    private Token token;
    private Pin pin;

    @BeforeEach
    void makeToken() {
        token = new Token(module, READER);
        pin = Pin.of(PIN.clone());
    }

    /** A job of a token. */
    private interface Job {
        void on(Token token, Pin pin) throws Exception;
    }

    @ParameterizedTest
    @CsvSource({
        "C_Initialize 0x5,          MODULE_FAILED",
        "C_GetSlotList 0x5,         OTHER",
        "C_OpenSession 0xE0,        NO_TOKEN",
        "C_OpenSession 0xE1,        NOT_INITIALIZED",
        "C_OpenSession 0x3,         NO_READER",
        "C_OpenSession 0xB7,        IN_USE",
        "C_Login 0xA0,              WRONG_PIN",
        "C_Login 0xA1,              WRONG_PIN",
        "C_Login 0xA2,              WRONG_PIN",
        "C_Login 0xA3,              PIN_EXPIRED_OR_NOT_SET",
        "C_Login 0xA4,              PIN_LOCKED",
        "C_Login 0x102,             PIN_EXPIRED_OR_NOT_SET",
        "C_Login 0x104,             IN_USE",
        "C_FindObjectsInit 0x32,    REMOVED",
        "C_FindObjectsInit 0x101,   REMOVED",
        "C_GetAttributeValue 0x82,  NO_SUCH_OBJECT",
        "C_FindObjects 0x80000012,  OTHER"})
    void aCodeOfAFunctionIsAReason(String order, Reason reason) throws Exception {
        assertRefused(order, reason, (t, p) -> t.readCertificateBytes(p, "alice", NONE));
    }

    @ParameterizedTest
    @MethodSource
    void soIsItInOtherJobs(String order, Reason reason, Job job) throws Exception {
        assertRefused(order, reason, job);
    }

    static Stream<Arguments> soIsItInOtherJobs() {
        Job changePin = (t, p) -> t.changePin(p, Pin.of("1".toCharArray()));
        Job initialize = (t, p) -> t.initialize(p);
        Job generate = (t, p) -> t.generateRsaKeyPair(p, 17, "x", NONE);
        Job verify = (t, p) -> t.verify(null, null);
        return Stream.of(
                arguments("C_SetPIN 0xA2", Reason.BAD_DATA, changePin),
                arguments("C_SetPIN 0xA0", Reason.WRONG_PIN, changePin),
                arguments("C_InitToken 0xA0", Reason.WRONG_PIN, initialize),
                arguments("C_InitToken 0xA4", Reason.PIN_LOCKED, initialize),
                arguments("C_InitToken 0xB6", Reason.IN_USE, initialize),
                arguments("C_GenerateKeyPair 0x62", Reason.BAD_DATA, generate),
                arguments("C_GenerateKeyPair 0x70", Reason.UNSUPPORTED, generate),
                arguments("C_TOVR_pkcs7Verify 0xC0", Reason.BAD_SIGNATURE, verify),
                arguments("C_TOVR_pkcs7Verify 0x20", Reason.BAD_DATA, verify));
    }

    private void assertRefused(String order, Reason reason, Job job) throws Exception {
        String[] words = order.split(" ");
        order(order);

        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> job.on(token, pin));

        assertEquals(reason, failure.getReason(), failure.getMessage());
        assertEquals(Long.decode(words[1]), failure.getCode());
        assertEquals(words[0], failure.getStep());
        assertTrue(failure.getMessage().endsWith(" from " + words[0]), failure.getMessage());
    }

    @Test
    void whatIsNotFoundHasTheStepOfASearch() {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class,
                () -> token.readCertificateBytes(pin, "nobody", NONE));

        assertEquals(Reason.NO_SUCH_OBJECT, failure.getReason());
        assertEquals("search", failure.getStep());
        assertEquals(ReturnCodes.CKR_FUNCTION_FAILED, failure.getCode());
        assertEquals("C_FindObjects object not found. Code: 0\n", failure.getDiagnostics());
        byte[] nobodys = {9};
        for (Job job : new Job[] {(t, p) -> t.readCertificateBytes(p, "alice", nobodys),
            (t, p) -> t.readPublicKey(p, "alice", nobodys), (t, p) -> t.sign(p, ALICE, ALICE, nobodys, 0),
            (t, p) -> t.createRequest(p, nobodys, ALICE, RequestContent.builder().build())}) {
            assertEquals(Reason.NO_SUCH_OBJECT,
                    assertThrows(Pkcs11Exception.class, () -> job.on(token, pin)).getReason());
        }
    }

    @Test
    void aFileThatIsNoModuleIsTold(@TempDir Path folder) throws Exception {
        String text = Files.write(folder.resolve("text.so"), ascii("no library")).toString();
        Path damaged = Files.write(folder.resolve("damaged.so"),
                Arrays.copyOf(Files.readAllBytes(Paths.get(module)), 40));

        assertNoModule(Reason.NO_MODULE, "dlopen", folder.resolve("absent.so").toString());
        assertNoModule(Reason.NOT_A_MODULE, "dlopen", folder.toString());
        assertNoModule(Reason.NOT_A_MODULE, "dlopen", text);
        assertNoModule(Reason.MODULE_FAILED, "dlopen", damaged.toString());
        assertNoModule(Reason.NOT_A_MODULE, "C_GetFunctionList", "libc.so.6");
        assertNoModule(Reason.BAD_DATA, "", module + "\0");
    }

    private void assertNoModule(Reason reason, String step, String path) {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> Token.readers(path));
        assertEquals(reason, failure.getReason(), failure.getMessage());
        assertEquals(step, failure.getStep());
    }

    @Test
    void aModuleWithoutTheVendorsFunctionsIsNotCalledForThem() throws Exception {
        SoftHsm.newToken();

        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> Token.verify(SoftHsm.MODULE, NONE, NONE));

        assertEquals(Reason.UNSUPPORTED, failure.getReason());
        assertEquals(ReturnCodes.CKR_FUNCTION_NOT_SUPPORTED, failure.getCode());
        Token.unload(SoftHsm.MODULE);
    }

    @ParameterizedTest
    @MethodSource
    void aPropertyAnswersForTheModule(Job job) {
        System.setProperty("vornixtoken.vendorFunctions", "false");
        try {
            List<String> calls = Transcript.during(() -> assertEquals(Reason.UNSUPPORTED,
                    assertThrows(Pkcs11Exception.class, () -> job.on(token, pin)).getReason()));
            assertEquals(Arrays.asList("C_GetFunctionList: CKR_OK", "C_Initialize(set): CKR_OK"), calls);
        } finally {
            System.clearProperty("vornixtoken.vendorFunctions");
        }
    }

    static Stream<Job> aPropertyAnswersForTheModule() {
        return Stream.of((t, p) -> t.importCertificate(p, "x", NONE, ALICE),
                (t, p) -> t.importCertificateBlocks(p, ALICE, ALICE),
                (t, p) -> t.sign(p, ALICE, ALICE, ALICE, 0),
                (t, p) -> t.verify(ALICE, ALICE),
                (t, p) -> t.createRequest(p, ALICE, ALICE, RequestContent.builder().build()));
    }

    @ParameterizedTest
    @ValueSource(strings = {"\ud800", "a\udc00b", "\ude00\ud83d", "a\0b"})
    void aTextThatCannotBeSentIsNotSent(String text) {
        RequestContent content = RequestContent.builder().subject("CN", text).build();
        List<Job> jobs = new ArrayList<>(Arrays.asList((t, p) -> t.importCertificate(p, text, NONE, ALICE),
                (t, p) -> t.createRequest(p, ALICE, ALICE, content)));
        if (!text.contains("\0")) {
            jobs.add((t, p) -> t.readCertificate(p, text));
            jobs.add((t, p) -> t.readPublicKey(p, text));
            jobs.add((t, p) -> t.generateRsaKeyPair(p, 2048, text, NONE));
            jobs.add((t, p) -> t.generateGostKeyPair(p, text, NONE));
        }

        for (Job job : jobs) {
            assertEquals(Collections.emptyList(), Transcript.during(() -> assertEquals(Reason.BAD_DATA,
                    assertThrows(Pkcs11Exception.class, () -> job.on(token, pin)).getReason())));
        }
    }

    @Test
    @Tag("oldnatives")
    void aLabelBeyondTheBasicPlaneIsFoundAndListedHoweverItWasWritten() throws Exception {
        String label = "\uD83D\uDE00";
        assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, label, NONE, new byte[] {7}));

        assertEquals(7, token.readCertificateBytes(pin, label, NONE)[0]);
        assertTrue(token.listObjects(pin).stream().anyMatch(object -> object.getLabel().equals(label)));

        token.importCertificate(pin, label, NONE, new byte[] {8});
        assertEquals(8, token.readCertificateBytes(pin, label, NONE)[0]);
    }

    @Test
    void aListenerHearsTheLinesOfEveryJob() throws Exception {
        List<String> heard = new ArrayList<>();
        Token told = Token.in(module).reader(READER).diagnostics(heard::add).build();

        told.sign(pin, ALICE, ALICE, ALICE, 0, new byte[] {9}, ALICE);
        assertFalse(heard.isEmpty());
        assertTrue(heard.get(0).startsWith("C_FindObjects object not found"), heard::toString);

        heard.clear();
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> told.clean(Pin.of(WRONG_PIN.clone())));
        assertEquals(String.join("\n", heard) + "\n", failure.getDiagnostics());
    }

    @Test
    void emptyArraysAndNoPinArePassedOn() throws Exception {
        assertEquals("C_Login(session, CKU_USER, PIN null [0]): CKR_PIN_INCORRECT", Transcript.line("C_Login",
                () -> assertThrows(Pkcs11Exception.class, () -> token.listObjects(Pin.none()))));
        token.importCertificate(pin, "", NONE, NONE);
        token.importCertificateBlocks(pin, NONE, NONE);
        assertTrue(token.sign(pin, NONE, NONE, NONE, 0).length > 0);
        token.verify(NONE, NONE);
    }
}
