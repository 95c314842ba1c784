// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.Authority;
import jvm.support.ChildJvm;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.Scripted;
import jvm.support.Tool;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Files;
import java.nio.file.Path;

/** The command-line tool on a token that signs. The test's environment holds the PINs. */
@Tag("softtoken")
class ToolStoryTest {
    private static final String MODULE = System.getProperty("vornix.softtoken");
    private static final String READER = "Vornix Soft Reader 00 00";

    @BeforeEach
    void initialize() {
        assertPrints("", tool("init", "--yes"));
    }

    @Test
    void aKeyIsCertifiedAndSigns(@TempDir Path folder) throws Exception {
        Path request = folder.resolve("request");
        assertPrints("", tool("generate-rsa", "--label", "alice", "--id", "01"));
        assertPrints("", tool("create-request", "--id", "01", "--subject", "CN=Alice",
                "--extension", "keyUsage=critical,digitalSignature", "--out", request.toString()));
        byte[] certificate = Authority.certify(folder, Files.readAllBytes(request)).getEncoded();
        Path issued = Files.write(folder.resolve("issued"), certificate);
        Path readBack = folder.resolve("read back");
        assertPrints("", tool("import-certificate", "--label", "alice", "--id", "01", issued.toString()));
        assertPrints("", tool("read-certificate", "--label", "alice", "--out", readBack.toString()));
        assertArrayEquals(certificate, Files.readAllBytes(readBack));

        Path letter = Files.write(folder.resolve("letter"), Scripted.ascii("I owe you one"));
        String pem = tool("sign", "-c", "01", "-k", "01", "--flags", "0x1", letter.toString()).out;
        Path detached = Files.write(folder.resolve("detached"), pem.getBytes());
        Path other = Files.write(folder.resolve("other"), Scripted.ascii("I owe you two"));

        assertPrints("good\n", Tool.run("verify", "-m", MODULE, detached.toString(), letter.toString()));
        assertEquals(1, Tool.run("verify", "-m", MODULE, detached.toString(), other.toString()).status);
        Processes.run("openssl", "cms", "-verify", "-binary", "-inform", "PEM", "-in", detached.toString(),
                "-content", letter.toString(), "-CAfile", folder.resolve("ca.pem").toString(), "-out", "/dev/null");
    }

    @Test
    void theTokenIsListedAndCleaned() {
        assertPrints("", tool("generate-gost", "--label", "boris", "--id", "02ff"));
        Result listed = tool("list", "--json");
        assertTrue(listed.out.contains("{\"kind\":\"private key\",\"label\":\"boris\",\"id\":\"02ff\","
                + "\"keyType\":\"GOSTR3410\"}"), listed.out);

        assertPrints("", tool("clean", "--yes"));
        assertPrints("", tool("list"));
        assertTrue(tool("info").out.startsWith("label:         VORNIX Token\n"));
    }

    @Test
    void aWrongPinIsNamed(@TempDir Path folder) throws Exception {
        Path wrong = Files.write(folder.resolve("wrong"), Scripted.ascii("00000000\n"));
        Result refused = tool("list", "--pin-file", wrong.toString());

        assertEquals(1, refused.status);
        assertTrue(refused.err.contains(": CKR_PIN_INCORRECT (0xA0) from C_Login\n"), refused.err);
    }

    @Test
    void aWrongPinIsFollowedByAdvice() throws Exception {
        assertEquals("few tries left: a wrong PIN was given since the last right one; make sure of it before the next"
                + " one, because wrong ones may lock it", advice());
        assertEquals("last try: another wrong PIN locks it, so do not guess, and ask whoever issued the token", advice());
        assertTrue(advice().startsWith("locked: whoever has the PUK can unlock the PIN with the token maker's software; "));
        assertTrue(advice().startsWith("locked: "));
    }

    /** The last line that a process with a wrong PIN writes. */
    private static String advice() throws Exception {
        Result refused = new ChildJvm().environment("VORNIX_SOFTTOKEN_PIN_TRIES", "3")
                .environment("VORNIX_USER_PIN", "00000000").toolOn(MODULE, READER, "list");
        String[] lines = refused.err.split("\n");
        assertEquals(2, lines.length, refused::toString);
        assertEquals(1, refused.status);
        return lines[1];
    }

    private static Result tool(String command, String... arguments) {
        return Tool.runOn(MODULE, READER, command, arguments);
    }
}
