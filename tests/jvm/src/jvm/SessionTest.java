// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.ascii;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.ReturnCodes;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenSession;

import jvm.support.KeyTool;
import jvm.support.ScriptedToken;
import jvm.support.Threads;
import jvm.support.Transcript;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;

import java.security.cert.X509Certificate;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Random;
import java.util.stream.Collectors;
import java.util.stream.Stream;

@Tag("sessions")
class SessionTest extends ScriptedToken {
    private static final byte[] ALICE = {1};

    private Token token;
    private Pin pin;

    @BeforeEach
    void makeToken() {
        token = new Token(module, READER);
        pin = Pin.of(PIN.clone());
    }

    @Test
    void manyJobsNeedOneInitialisationAndOneLogin() {
        List<String> calls = Transcript.during(() -> Threads.run(1, 1, () -> {
            assertEquals("Scripted Token", token.readInfo().getLabel());
            try (TokenSession session = token.open(pin)) {
                for (int i = 0; i < 10; i++) {
                    assertEquals(6, session.listObjects().size());
                    session.readCertificateBytes("alice", NONE);
                }
            }
            token.readInfo();
        }));

        assertEquals(Arrays.asList("C_Initialize(set): CKR_OK",
                "C_OpenSession(slot 7, flags 0x6, application null, notify null) -> session: CKR_OK",
                "C_Login(session, CKU_USER, PIN \"12345678\" [8]): CKR_OK", "C_CloseSession(session): CKR_OK"),
                only(calls, "Initialize|Finalize|OpenSession|Login|Logout|CloseSession|CloseAllSessions"));
    }

    @Test
    void oneJobAsksEachThingOnce() {
        token(() -> token.readInfo());

        List<String> calls = Transcript.during(() -> token(() -> token.readCertificateBytes(pin, "alice", ALICE)));

        assertEquals(Arrays.asList("C_GetSlotList", "C_GetSlotList", "C_GetSlotInfo", "C_OpenSession", "C_Login",
                "C_FindObjectsInit", "C_FindObjects", "C_GetAttributeValue", "C_GetAttributeValue",
                "C_FindObjectsFinal", "C_GetSessionInfo", "C_GetSlotInfo", "C_CloseSession"), names(calls));
    }

    @Test
    void everyJobOfATokenIsOneOfASession() throws Exception {
        X509Certificate certificate = KeyTool.certificate("CN=Alice");
        try (TokenSession session = token.open(pin)) {
            session.importCertificate("x", ALICE, certificate);
            assertEquals(certificate, session.readCertificate("x"));
            session.importCertificateBlocks(ascii("first"), ascii("id"));
            session.generateGostKeyPair("gost", NONE);
            session.generateRsaKeyPair(2048, "rsa", NONE);
            assertEquals(2048, session.readPublicKey("rsa").getModulus().bitLength());
            assertEquals("Scripted Token", session.readInfo().getLabel());
            assertTrue(session.sign(ascii("data"), ALICE, ALICE, 0).length > 0);
            assertTrue(session.createRequest(ALICE, ALICE, RequestContent.builder().build()).length > 0);
            session.verify(null, null);
            Pin other = Pin.of("other".toCharArray());
            session.changePin(pin, other);
            session.changePin(other, pin);
            session.clean();
            assertTrue(session.listObjects().isEmpty());
        }
    }

    @Test
    void certificatesAreListedWithTheirKeysAndWhatIsNone() throws Exception {
        X509Certificate certificate = KeyTool.certificate("CN=Zo\u00eb, C=NO");
        token.importCertificate(pin, "new", new byte[] {9}, certificate);

        List<TokenCertificate> listed = token.listCertificates(pin);

        TokenCertificate junk = listed.get(0);
        assertEquals("alice", junk.getLabel());
        assertArrayEquals(ALICE, junk.getId());
        assertTrue(junk.hasPrivateKey());
        assertFalse(junk.getCertificate().isPresent() || junk.getSubject().isPresent() || junk.getExpiry().isPresent());
        TokenCertificate known = listed.get(listed.size() - 1);
        assertEquals(certificate, known.getCertificate().get());
        assertEquals("CN=Zo\u00eb,C=NO", known.getSubject().get());
        assertEquals(certificate.getNotAfter().toInstant(), known.getExpiry().get());
        assertArrayEquals(certificate.getEncoded(), known.getEncoded());
        assertFalse(known.hasPrivateKey());
    }

    @Test
    void labelsAndValuesOfAMegabytePass() throws Exception {
        char[] many = new char[1 << 20];
        Arrays.fill(many, '\u03a9');
        String label = new String(many);
        byte[] value = new byte[1 << 20];
        new Random(1).nextBytes(value);
        try (TokenSession session = token.open(pin)) {
            session.importCertificate(label, value, value);

            assertArrayEquals(value, session.readCertificateBytes(label, value));
            TokenCertificate listed = session.listCertificates().get(session.listCertificates().size() - 1);
            assertEquals(label, listed.getLabel());
            assertArrayEquals(value, listed.getEncoded());
        }
    }

    @Test
    void aClosedSessionSendsNothing() throws Exception {
        TokenSession session = token.open(pin);
        session.close();

        assertEquals(Collections.emptyList(), Transcript.during(() -> {
            for (SessionJob job : new SessionJob[] {TokenSession::listObjects, TokenSession::readInfo, TokenSession::clean,
                closed -> closed.changePin(pin, pin), closed -> closed.verify(NONE, NONE),
                closed -> closed.sign(ALICE, ALICE, ALICE, 0)}) {
                assertThrows(IllegalStateException.class, () -> job.on(session));
            }
            token(session::close);
        }));
        assertFalse(session.isOpen());
    }

    @ParameterizedTest
    @CsvSource({"0x190, false", "0xB3, false", "0xB0, false", "0x32, false", "0xE0, false", "0x101, true",
        "0x30, true"})
    void whatTakesItsGroundAwayEndsASession(String code, boolean closed) throws Exception {
        TokenSession session = token.open(pin);
        order("C_FindObjectsInit " + code + " 1");

        List<String> calls = Transcript.during(() -> assertRemoved(session));
        assertEquals(closed ? 1 : 0, only(calls, "CloseSession").size());
        assertFalse(session.isOpen());

        assertEquals(Collections.emptyList(), Transcript.during(() -> {
            assertRemoved(session);
            token(session::close);
        }));
        try (TokenSession next = token.open(pin)) {
            assertEquals(6, next.listObjects().size());
        }
        Token.unload(module);
    }

    /** What is left to see is not all. */
    @ParameterizedTest
    @MethodSource
    void aLoginThatIsGoneEndsASession(SessionJob job) throws Exception {
        TokenSession session = token.open(pin);
        order("logout");

        List<String> calls = Transcript.during(() -> {
            Pkcs11Exception failure = refused(() -> job.on(session));
            assertEquals(Reason.REMOVED, failure.getReason());
            assertTrue(failure.getMessage().contains("called C_Logout"), failure.getMessage());
            assertEquals("C_GetSessionInfo", failure.getStep());
            assertEquals(ReturnCodes.CKR_USER_NOT_LOGGED_IN, failure.getCode());
        });

        assertFalse(session.isOpen());
        assertEquals(Collections.emptyList(), only(calls, "Login|DestroyObject|TOVR_.*"));
        assertEquals(1, only(calls, "CloseSession").size());
        assertEquals(6, token.listObjects(pin).size());
    }

    static Stream<SessionJob> aLoginThatIsGoneEndsASession() {
        return Stream.of(TokenSession::listObjects, TokenSession::listCertificates, TokenSession::clean,
                session -> session.readCertificateBytes("alice", NONE), session -> session.readPublicKey("alice"),
                session -> session.readCertificateBytes("nobody", NONE),
                session -> session.sign(ALICE, ALICE, ALICE, 0),
                session -> session.createRequest(ALICE, ALICE, RequestContent.builder().build()));
    }

    /** A job of a session. */
    private interface SessionJob {
        void on(TokenSession session) throws Exception;
    }

    @Test
    void aFailureThatConcernsTheJobAloneLeavesTheSession() throws Exception {
        try (TokenSession session = token.open(pin)) {
            order("C_FindObjectsInit 0x5 1");

            assertThrows(Pkcs11Exception.class, session::listObjects);

            assertTrue(session.isOpen());
            assertEquals(6, session.listObjects().size());
        }
    }

    /** Another session's job has met the end of the module. Handles of before may be others' by now. */
    @Test
    void afterAForeignFinalisationNoOldHandleIsUsed() throws Exception {
        TokenSession old = token.open(pin);
        order("C_GetSlotList 0x190 1");
        try (TokenSession next = token.open(pin)) {
            assertEquals(Collections.emptyList(), Transcript.during(() -> {
                assertRemoved(old);
                token(old::close);
            }));
            assertEquals(Reason.IN_USE, refused(() -> Token.unload(module)).getReason());
            assertEquals(6, next.listObjects().size());
        }
    }

    @ParameterizedTest
    @CsvSource({"C_GetSlotList, 1", "C_OpenSession, 1", "C_Login, 2"})
    void beforeItsLoginAJobBeginsAgainAfterAForeignFinalisation(String function, int logins) throws Exception {
        token.readInfo();
        order(function + " 0x190 1");

        List<String> calls = Transcript.during(() -> token(() -> token.listObjects(pin)));

        assertEquals(1, only(calls, "Initialize").size());
        assertEquals(logins, only(calls, "Login").size());
    }

    @ParameterizedTest
    @CsvSource({"C_FindObjectsInit 0x190 1, 0", "C_OpenSession 0x190, 1", "C_Login 0x190, 1"})
    void afterItAndASecondTimeItDoesNot(String order, int initialisations) throws Exception {
        token.readInfo();
        order(order);

        List<String> calls = Transcript.during(
                () -> assertEquals(Reason.REMOVED, refused(() -> token.listObjects(pin)).getReason()));

        assertEquals(initialisations, only(calls, "Initialize").size());
        assertTrue(only(calls, "Login").stream().filter(call -> call.endsWith("CKR_OK")).count() <= 1, calls::toString);
        order();
        assertEquals(6, token.listObjects(pin).size());
    }

    @Test
    void aWrongPinIsSentOnce() throws Exception {
        List<String> calls = Transcript.during(() -> assertEquals(Reason.WRONG_PIN,
                refused(() -> token.open(Pin.of(WRONG_PIN.clone()))).getReason()));

        assertEquals(1, only(calls, "Login").size());
        assertEquals(1, only(calls, "CloseSession").size());
    }

    /** The standard's login is the process's. */
    @Test
    void besideASessionNoPinIsLookedAt() throws Exception {
        Pin wrong = Pin.of(WRONG_PIN.clone());
        TokenSession session = token.open(pin);
        assertEquals(6, token.listObjects(wrong).size());
        session.close();

        assertEquals(Reason.WRONG_PIN, refused(() -> token.listObjects(wrong)).getReason());
    }

    @Test
    void aTokenIsNotInitialisedBesideASession() throws Exception {
        try (TokenSession session = token.open(pin)) {
            assertEquals(Reason.IN_USE, refused(() -> token.initialize(Pin.of(SO_PIN.clone()))).getReason());
            assertEquals(6, session.listObjects().size());
        }
    }

    @Test
    void unloadingFinalisesOnceAndTheNextCallBeginsAnew() {
        token(() -> token.readInfo());

        List<String> calls = Transcript.during(() -> token(() -> {
            Token.unload(module);
            Token.unload(module);
            token.readInfo();
        }));

        assertEquals(Arrays.asList("C_Finalize(null): CKR_OK", "C_Initialize(set): CKR_OK"),
                only(calls, "Initialize|Finalize"));
    }

    @Test
    void whatOthersInitialisedIsNotFinalised() throws Exception {
        token.readInfo();
        order("C_Finalize 0 1"); // it stays initialised
        Token.unload(module);
        assertEquals(Arrays.asList("C_Initialize(set): CKR_CRYPTOKI_ALREADY_INITIALIZED"),
                only(Transcript.during(() -> token(() -> token.readInfo())), "Initialize"));

        assertEquals(Collections.emptyList(), Transcript.during(() -> token(() -> Token.unload(module))));
    }

    @Test
    void aModuleThatCannotLockIsInitialisedWithout() throws Exception {
        order("C_Initialize 0xA 1");

        assertEquals(Arrays.asList("C_Initialize(set): CKR_CANT_LOCK", "C_Initialize(null): CKR_OK"),
                only(Transcript.during(() -> token(() -> token.listObjects(pin))), "Initialize"));
    }

    @Test
    void threadsOpenAndCloseWhileOthersWork() throws Exception {
        try (TokenSession shared = token.open(pin)) {
            Threads.run(8, 20, () -> {
                try (TokenSession own = token.open(pin)) {
                    assertEquals(6, own.listObjects().size());
                    assertEquals(6, shared.listObjects().size());
                }
                token.listObjects(pin);
            });
        }
        Token.unload(module);
    }

    /** Something that may fail, where nothing may. */
    private static void token(Threads.Work work) {
        Threads.run(1, 1, work);
    }

    private static void assertRemoved(TokenSession session) {
        Pkcs11Exception failure = refused(session::listObjects);
        assertEquals(Reason.REMOVED, failure.getReason(), failure.getMessage());
        assertTrue(failure.getMessage().contains("the session has ended"), failure.getMessage());
    }

    private static Pkcs11Exception refused(Executable job) {
        return assertThrows(Pkcs11Exception.class, job);
    }

    private static List<String> only(List<String> calls, String functions) {
        return calls.stream().filter(call -> call.matches("C_(" + functions + ")\\(.*")).collect(Collectors.toList());
    }

    private static List<String> names(List<String> calls) {
        return calls.stream().map(call -> call.substring(0, call.indexOf('('))).collect(Collectors.toList());
    }
}
