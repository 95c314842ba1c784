// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.params.provider.Arguments.arguments;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import jvm.support.Scripted;
import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

import java.security.cert.X509Certificate;
import java.util.Collections;
import java.util.stream.Stream;

/** A null is refused under the parameter's name before anything is called. */
class NullArgumentsTest extends ScriptedToken {
    /** One call that passes a null. */
    private interface Call {
        void on(Token token, Pin pin) throws Exception;
    }

    @ParameterizedTest(name = "{0}: {1}")
    @MethodSource("calls")
    void nothingIsCalled(String method, String parameter, Call call) {
        Token token = new Token(module, READER);
        try (Pin pin = Pin.of(PIN.clone())) {
            assertEquals(Collections.emptyList(), Transcript.during(() -> assertRefused(parameter,
                    () -> call.on(token, pin))));
        }
    }

    /** One call of a session that passes a null. */
    private interface SessionCall {
        void on(TokenSession session, Pin pin) throws Exception;
    }

    @ParameterizedTest(name = "{0}: {1}")
    @MethodSource("sessionCalls")
    void inASessionNothingIsCalledEither(String method, String parameter, SessionCall call) throws Exception {
        try (Pin pin = Pin.of(PIN.clone()); TokenSession session = new Token(module, READER).open(pin)) {
            assertEquals(Collections.emptyList(), Transcript.during(() -> assertRefused(parameter,
                    () -> call.on(session, pin))));
            assertEquals(6, session.listObjects().size());
        }
    }

    private static Arguments inSession(String method, String parameter, SessionCall call) {
        return arguments(method, parameter, call);
    }

    static Stream<Arguments> sessionCalls() {
        byte[] b = NONE;
        RequestContent content = RequestContent.builder().build();
        return Stream.of(
                inSession("changePin", "oldPin", (s, p) -> s.changePin(null, p)),
                inSession("changePin", "newPin", (s, p) -> s.changePin(p, null)),
                inSession("readCertificate", "label", (s, p) -> s.readCertificate(null)),
                inSession("readCertificate", "id", (s, p) -> s.readCertificate("x", null)),
                inSession("readCertificateBytes", "label", (s, p) -> s.readCertificateBytes(null, b)),
                inSession("readCertificateBytes", "id", (s, p) -> s.readCertificateBytes("x", null)),
                inSession("readPublicKey", "label", (s, p) -> s.readPublicKey(null)),
                inSession("readPublicKey", "id", (s, p) -> s.readPublicKey("x", null)),
                inSession("importCertificate", "label", (s, p) -> s.importCertificate(null, b, b)),
                inSession("importCertificate", "id", (s, p) -> s.importCertificate("x", null, b)),
                inSession("importCertificate", "certificate", (s, p) -> s.importCertificate("x", b, (byte[]) null)),
                inSession("importCertificate of an object", "certificate",
                        (s, p) -> s.importCertificate("x", b, (X509Certificate) null)),
                inSession("importCertificateBlocks", "first", (s, p) -> s.importCertificateBlocks(null, b)),
                inSession("importCertificateBlocks", "second", (s, p) -> s.importCertificateBlocks(b, null)),
                inSession("generateRsaKeyPair", "label", (s, p) -> s.generateRsaKeyPair(2048, null, b)),
                inSession("generateRsaKeyPair", "id", (s, p) -> s.generateRsaKeyPair(2048, "x", null)),
                inSession("generateGostKeyPair", "label", (s, p) -> s.generateGostKeyPair(null, b)),
                inSession("generateGostKeyPair", "id", (s, p) -> s.generateGostKeyPair("x", null)),
                inSession("sign", "data", (s, p) -> s.sign(null, b, b, 0)),
                inSession("sign", "certificateId", (s, p) -> s.sign(b, null, b, 0)),
                inSession("sign", "privateKeyId", (s, p) -> s.sign(b, b, null, 0)),
                inSession("sign", "furtherCertificateIds", (s, p) -> s.sign(b, b, b, 0, b, null)),
                inSession("createRequest", "publicKeyId", (s, p) -> s.createRequest(null, b, content)),
                inSession("createRequest", "privateKeyId", (s, p) -> s.createRequest(b, null, content)),
                inSession("createRequest", "content", (s, p) -> s.createRequest(b, b, null)));
    }

    private static void assertRefused(String parameter, Executable call) {
        assertEquals(parameter, assertThrows(NullPointerException.class, call).getMessage());
    }

    private static Arguments refused(String method, String parameter, Call call) {
        return arguments(method, parameter, call);
    }

    static Stream<Arguments> calls() {
        byte[] b = NONE;
        RequestContent.Builder content = RequestContent.builder();
        return Stream.of(
                refused("Token", "modulePath", (t, p) -> new Token(null, READER)),
                refused("Token", "terminalName", (t, p) -> new Token(Scripted.MODULE, null)),
                refused("in", "modulePath", (t, p) -> Token.in(null)),
                refused("reader", "name", (t, p) -> Token.in(Scripted.MODULE).reader(null)),
                refused("serialNumber", "number", (t, p) -> Token.in(Scripted.MODULE).serialNumber(null)),
                refused("label", "text", (t, p) -> Token.in(Scripted.MODULE).label(null)),
                refused("waitingAtMost", "patience", (t, p) -> Token.in(Scripted.MODULE).waitingAtMost(null)),
                refused("diagnostics", "listener", (t, p) -> Token.in(Scripted.MODULE).diagnostics(null)),
                refused("readers", "modulePath", (t, p) -> Token.readers(null)),
                refused("hasVendorFunctions", "modulePath", (t, p) -> Token.hasVendorFunctions(null)),
                refused("unload", "modulePath", (t, p) -> Token.unload(null)),
                refused("open", "pin", (t, p) -> t.open(null)),
                refused("listCertificates", "pin", (t, p) -> t.listCertificates(null)),
                refused("changePin", "oldPin", (t, p) -> t.changePin(null, p)),
                refused("changePin", "newPin", (t, p) -> t.changePin(p, null)),
                refused("changePuk", "oldPuk", (t, p) -> t.changePuk(null, p)),
                refused("changePuk", "newPuk", (t, p) -> t.changePuk(p, null)),
                refused("initialize", "puk", (t, p) -> t.initialize(null)),
                refused("clean", "pin", (t, p) -> t.clean(null)),
                refused("listObjects", "pin", (t, p) -> t.listObjects(null)),
                refused("readCertificate", "pin", (t, p) -> t.readCertificate(null, "x")),
                refused("readCertificate", "label", (t, p) -> t.readCertificate(p, null)),
                refused("readCertificate", "id", (t, p) -> t.readCertificate(p, "x", null)),
                refused("readCertificateBytes", "pin", (t, p) -> t.readCertificateBytes(null, "x", b)),
                refused("readCertificateBytes", "label", (t, p) -> t.readCertificateBytes(p, null, b)),
                refused("readCertificateBytes", "id", (t, p) -> t.readCertificateBytes(p, "x", null)),
                refused("readPublicKey", "pin", (t, p) -> t.readPublicKey(null, "x")),
                refused("readPublicKey", "label", (t, p) -> t.readPublicKey(p, null)),
                refused("readPublicKey", "id", (t, p) -> t.readPublicKey(p, "x", null)),
                refused("importCertificate", "pin", (t, p) -> t.importCertificate(null, "x", b, b)),
                refused("importCertificate", "label", (t, p) -> t.importCertificate(p, null, b, b)),
                refused("importCertificate", "id", (t, p) -> t.importCertificate(p, "x", null, b)),
                refused("importCertificate", "certificate", (t, p) -> t.importCertificate(p, "x", b, (byte[]) null)),
                refused("importCertificate of an object", "certificate",
                        (t, p) -> t.importCertificate(p, "x", b, (X509Certificate) null)),
                refused("importCertificateBlocks", "pin", (t, p) -> t.importCertificateBlocks(null, b, b)),
                refused("importCertificateBlocks", "first", (t, p) -> t.importCertificateBlocks(p, null, b)),
                refused("importCertificateBlocks", "second", (t, p) -> t.importCertificateBlocks(p, b, null)),
                refused("generateRsaKeyPair", "pin", (t, p) -> t.generateRsaKeyPair(null, 2048, "x", b)),
                refused("generateRsaKeyPair", "label", (t, p) -> t.generateRsaKeyPair(p, 2048, null, b)),
                refused("generateRsaKeyPair", "id", (t, p) -> t.generateRsaKeyPair(p, 2048, "x", null)),
                refused("generateGostKeyPair", "pin", (t, p) -> t.generateGostKeyPair(null, "x", b)),
                refused("generateGostKeyPair", "label", (t, p) -> t.generateGostKeyPair(p, null, b)),
                refused("generateGostKeyPair", "id", (t, p) -> t.generateGostKeyPair(p, "x", null)),
                refused("sign", "pin", (t, p) -> t.sign(null, b, b, b, 0)),
                refused("sign", "data", (t, p) -> t.sign(p, null, b, b, 0)),
                refused("sign", "certificateId", (t, p) -> t.sign(p, b, null, b, 0)),
                refused("sign", "privateKeyId", (t, p) -> t.sign(p, b, b, null, 0)),
                refused("sign", "furtherCertificateIds", (t, p) -> t.sign(p, b, b, b, 0, (byte[][]) null)),
                refused("sign with nothing among them", "furtherCertificateIds",
                        (t, p) -> t.sign(p, b, b, b, 0, b, null)),
                refused("verify", "modulePath", (t, p) -> Token.verify(null, b, b)),
                refused("createRequest", "pin", (t, p) -> t.createRequest(null, b, b, content.build())),
                refused("createRequest", "publicKeyId", (t, p) -> t.createRequest(p, null, b, content.build())),
                refused("createRequest", "privateKeyId", (t, p) -> t.createRequest(p, b, null, content.build())),
                refused("createRequest", "content", (t, p) -> t.createRequest(p, b, b, null)),
                refused("resetTerminal", "readerName", (t, p) -> Token.resetTerminal(null)),
                refused("subject", "name", (t, p) -> content.subject(null, "x")),
                refused("subject", "value", (t, p) -> content.subject("x", null)),
                refused("attribute", "name", (t, p) -> content.attribute(null, "x")),
                refused("attribute", "value", (t, p) -> content.attribute("x", null)),
                refused("extension", "name", (t, p) -> content.extension(null, true, "x")),
                refused("extension", "value", (t, p) -> content.extension("x", true, null)),
                refused("extension of three texts", "first", (t, p) -> content.extension(null, "x", "x")),
                refused("extension of three texts", "second", (t, p) -> content.extension("x", (String) null, "x")),
                refused("extension of three texts", "third", (t, p) -> content.extension("x", "x", null)),
                refused("Pin", "characters", (t, p) -> Pin.of((char[]) null)),
                refused("Pin", "bytes", (t, p) -> Pin.of((byte[]) null)));
    }
}
