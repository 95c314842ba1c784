// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.ascii;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.params.provider.Arguments.arguments;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import jvm.support.ScriptedToken;
import jvm.support.Threads;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

import java.security.spec.InvalidKeySpecException;
import java.util.List;
import java.util.stream.Stream;

/** Whichever call of a job fails, nothing stays open and the next job works. */
@Tag("sessions")
class FailedCallSweepTest extends ScriptedToken {
    private static final byte[] ALICE = {1};

    /** A job of a token. */
    private interface Job {
        void on(Token token, Pin pin) throws Exception;
    }

    @ParameterizedTest(name = "{0}")
    @MethodSource
    void nothingIsLeftOpen(String name, Job job) throws Exception {
        Token token = new Token(module, READER);
        int calls = 0;
        for (String code : new String[] {"0x5", "0x32", "0x190"}) {
            for (int n = 1; calls == 0 || n <= calls; n++) {
                order(calls == 0 ? "* 0 1000" : "* " + code + " " + n);
                List<String> lines = Transcript.during(() -> tryOnce(job, token));
                calls = calls == 0 ? lines.size() : calls;
                assertEquals(started(lines, "C_FindObjectsInit"), count(lines, "C_FindObjectsFinal"), lines::toString);
                assertTrue(started(lines, "C_OpenSession") - count(lines, "C_CloseSession") <= (code.equals("0x5") ? 0 : 1),
                        lines::toString);
                assertTrue(count(lines, "C_Login") <= (code.equals("0x190") ? 2 : 1), lines::toString);
                assertTrue(lookedAt(lines) <= 1 && count(lines, "C_SetPIN") <= 1, lines::toString);

                order();
                token.readInfo();
                Token.unload(module); // refuses where it counts an open session
            }
        }
    }

    static Stream<Arguments> nothingIsLeftOpen() {
        RequestContent content = RequestContent.builder().subject("CN", "Alice").build();
        return Stream.of(
                job("readInfo", (t, p) -> t.readInfo()),
                job("listObjects", (t, p) -> t.listObjects(p)),
                job("listCertificates", (t, p) -> t.listCertificates(p)),
                job("readCertificate", (t, p) -> t.readCertificateBytes(p, "alice", ALICE)),
                job("readPublicKey", FailedCallSweepTest::readShortKey),
                job("importCertificate", (t, p) -> t.importCertificate(p, "x", NONE, ALICE)),
                job("importCertificateBlocks", (t, p) -> t.importCertificateBlocks(p, ALICE, ALICE)),
                job("generateRsaKeyPair", (t, p) -> t.generateRsaKeyPair(p, 2048, "x", NONE)),
                job("sign", (t, p) -> t.sign(p, ascii("data"), ALICE, ALICE, 0, ALICE)),
                job("createRequest", (t, p) -> t.createRequest(p, ALICE, ALICE, content)),
                job("verify", (t, p) -> t.verify(null, null)),
                job("changePin", (t, p) -> t.changePin(p, p)),
                job("initialize", (t, p) -> t.initialize(p)),
                job("open", (t, p) -> {
                    try (TokenSession session = t.open(p)) {
                        session.listObjects();
                        session.listObjects();
                    }
                }));
    }

    private static void readShortKey(Token token, Pin pin) throws Exception {
        try {
            token.readPublicKey(pin, "alice");
        } catch (InvalidKeySpecException tooShort) {
            // The sample is no real key, which is told after all calls.
        }
    }

    private static Arguments job(String name, Job job) {
        return arguments(name, job);
    }

    private static void tryOnce(Job job, Token token) {
        Threads.run(1, 1, () -> {
            try (Pin pin = Pin.of(PIN.clone())) {
                job.on(token, pin);
            } catch (Pkcs11Exception refused) {
                assertTrue(!refused.getStep().isEmpty() || refused.getReason() == Reason.NO_READER, refused.getMessage());
            }
        });
    }

    /** How often a module may have looked at a PIN: it does not where it is not initialised when C_Login comes. */
    private static long lookedAt(List<String> lines) {
        return lines.stream().filter(line -> line.matches("C_(Login|InitToken)\\(.*")
                && !line.matches("C_Login\\(.*CKR_CRYPTOKI_NOT_INITIALIZED")).count();
    }

    private static long started(List<String> lines, String function) {
        return lines.stream().filter(line -> line.startsWith(function + "(") && line.endsWith("CKR_OK")).count();
    }

    private static long count(List<String> lines, String function) {
        return lines.stream().filter(line -> line.startsWith(function + "(")).count();
    }
}
