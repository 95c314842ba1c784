// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.support.KeyTool;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.Scripted;
import jvm.support.ScriptedToken;
import jvm.support.Tool;
import jvm.support.Transcript;

import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.Base64;
import java.util.Collections;

/** Files as other programs write them and people put them together. The test's environment holds the PINs. */
class ToolPemTest extends ScriptedToken {
    private static byte[] alice;
    private static byte[] bob;
    private static Path keys;

    @BeforeAll
    static void makeCertificatesAndKeys() throws Exception {
        alice = KeyTool.certificate("CN=Alice").getEncoded();
        bob = KeyTool.certificate("CN=Bob").getEncoded();
        keys = Files.createTempDirectory("keys");
        Processes.run("sh", "-ec", "cd '" + keys + "'\n"
                + "openssl genpkey -quiet -algorithm RSA -out pkcs8.pem\n"
                + "openssl pkey -in pkcs8.pem -traditional -out pkcs1.pem\n"
                + "openssl pkey -in pkcs8.pem -aes256 -passout pass:word -out encrypted.pem\n"
                + "openssl rsa -in pkcs8.pem -aes256 -passout pass:word -traditional -out legacy.pem\n"
                + "openssl ecparam -name prime256v1 -genkey -noout -out sec1.pem\n"
                + "openssl req -new -key pkcs8.pem -subj /CN=Alice -out request.pem\n"
                + "openssl req -new -key pkcs8.pem -subj / -out nameless.pem\n"
                + "openssl pkey -in pkcs8.pem -pubout -out public.pem\n"
                + "openssl req -x509 -key pkcs8.pem -subj /CN=Alice -out alice.pem\n"
                + "openssl req -new -key pkcs8.pem -subj /CN=Old -out old.pem\n"
                + "openssl x509 -req -in old.pem -key pkcs8.pem -set_serial 0 -outform DER -out old.der 2>&1\n"
                + "openssl pkcs12 -export -in alice.pem -inkey pkcs8.pem -passout pass:word -out store.p12\n"
                + "openssl crl2pkcs7 -nocrl -certfile alice.pem -out bundle.pem\n"
                + "for name in pkcs8 pkcs1 encrypted sec1 request nameless public bundle; do\n"
                + "grep -v -e ----- $name.pem | base64 -d >$name.der; done");
    }

    @AfterAll
    static void removeKeys() throws IOException {
        for (Path file : (Iterable<Path>) Files.list(keys)::iterator) {
            Files.delete(file);
        }
        Files.delete(keys);
    }

    @ParameterizedTest
    @ValueSource(strings = {
        "%s",
        "Bag Attributes\n    friendlyName: alice\nsubject=CN = Alice\n%sThat was it.\n",
        "---------- Alice ----------\n-----\n%s",
        "\u00ef\u00bb\u00bf%s",
        "0 is where some texts begin\r\n\r\n%s",
        "%1$s%2$s",
        "%2$s%1$s",
        "%3$s%1$s%2$s"})
    void theFirstCertificateAmongTextAndOtherBlocksIsTaken(String form, @TempDir Path folder) throws Exception {
        byte[] first = form.startsWith("%2") ? bob : alice;
        String text = String.format(form, pem("CERTIFICATE", alice), pem("CERTIFICATE", bob),
                new String(Files.readAllBytes(keys.resolve("pkcs8.pem")), StandardCharsets.US_ASCII));

        assertImports(first, Files.write(folder.resolve("c"), text.getBytes(StandardCharsets.ISO_8859_1)));
    }

    @ParameterizedTest
    @ValueSource(strings = {"\n", "\r\n", "\r", "\n  ", ""})
    void linesEndAsTheyLike(String end, @TempDir Path folder) throws Exception {
        String text = pem("X509 CERTIFICATE", alice).replace("\n", end);

        assertImports(alice, Files.write(folder.resolve("c"), Scripted.ascii(text)));
    }

    @Test
    void anOldCertificateIsNoRequest() throws Exception {
        Path old = keys.resolve("old.der");

        assertImports(Files.readAllBytes(old), old);
    }

    @ParameterizedTest
    @CsvSource({
            "pkcs8.pem,     a private key",
            "pkcs1.pem,     a private key",
            "encrypted.pem, a private key",
            "legacy.pem,    a private key",
            "sec1.pem,      a private key",
            "pkcs8.der,     a private key",
            "pkcs1.der,     a private key",
            "encrypted.der, a private key",
            "sec1.der,      a private key",
            "request.pem,   a certificate request",
            "request.der,   a certificate request",
            "nameless.der,  a certificate request",
            "store.p12,     a PKCS #12 store",
            "public.der,    a public key",
            "public.pem,    a block \"PUBLIC KEY\"",
            "bundle.der,    a PKCS #7 message"})
    void whatIsNoCertificateIsNamed(String file, String kind) {
        assertNotSent(keys.resolve(file) + " holds " + kind + " where a certificate is wanted", keys.resolve(file));
    }

    @Test
    void aWrongLabelDeceivesNobody(@TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("c"),
                Scripted.ascii(pem("CERTIFICATE", Files.readAllBytes(keys.resolve("pkcs8.der")))));

        assertNotSent(file + " holds a private key where a certificate is wanted", file);
    }

    @ParameterizedTest
    @CsvSource({
            "'-----BEGIN CERTIFICATE-----\nMAA=\n',                       no line -----END CERTIFICATE-----",
            "'-----BEGIN CERTIFICATE-----\nMAA=\n-----END CERT-----\n',   no line -----END CERTIFICATE-----",
            "'-----BEGIN CERTIFICATE-----\nM!AA\n-----END CERTIFICATE-----\n', Illegal base64 character 21"})
    void damageIsToldBeforeAnythingIsSent(String text, String damage, @TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("c"), Scripted.ascii(text));

        assertNotSent(file + " is damaged PEM: " + damage, file);
    }

    /** The module says good when both inputs are the same. */
    @Test
    void aMessageIsFoundInTextAndStaysWhole(@TempDir Path folder) throws Exception {
        byte[] der = Files.readAllBytes(keys.resolve("bundle.der"));
        Path content = Files.write(folder.resolve("content"), der);
        Path text = Files.write(folder.resolve("text"), Scripted.ascii("Dear Bob,\n" + pem("CERTIFICATE", alice)
                + pem("CMS", der)));
        byte[] enclosing = concatenation(new byte[] {0x30, (byte) 0x82, 8, 0}, Scripted.ascii("\n" + pem("PKCS7", der)));
        Path message = Files.write(folder.resolve("message"), enclosing);

        assertPrints("good\n", Tool.run("verify", "-m", module, text.toString(), content.toString()));
        assertPrints("good\n", Tool.run("verify", "-m", module, message.toString(), message.toString()));
        assertEquals("vornixtoken-tool verify: " + keys.resolve("alice.pem")
                + " holds a block \"CERTIFICATE\" where a PKCS #7 message is wanted\n",
                Tool.run("verify", "-m", module, keys.resolve("alice.pem").toString()).err);
    }

    private void assertImports(byte[] certificate, Path file) {
        assertPrints("", onToken("import-certificate", "-l", "c", file.toString()));
        assertPrints(pem("CERTIFICATE", certificate), onToken("read-certificate", "-l", "c"));
    }

    private void assertNotSent(String message, Path file) {
        assertEquals(Collections.emptyList(), Transcript.during(() -> {
            Result result = onToken("import-certificate", "-l", "c", file.toString());

            assertEquals("vornixtoken-tool import-certificate: " + message + "\n", result.err);
            assertEquals(3, result.status);
        }));
    }

    private Result onToken(String command, String... arguments) {
        return Tool.runOn(module, READER, command, arguments);
    }

    private static String pem(String label, byte[] der) {
        return "-----BEGIN " + label + "-----\n" + Base64.getMimeEncoder(64, new byte[] {'\n'}).encodeToString(der)
                + "\n-----END " + label + "-----\n";
    }

    private static byte[] concatenation(byte[] first, byte[] second) {
        byte[] both = Arrays.copyOf(first, first.length + second.length);
        System.arraycopy(second, 0, both, first.length, second.length);
        return both;
    }
}
