// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.KeyTool;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Tool;
import jvm.support.Transcript;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.nio.file.Files;
import java.nio.file.Path;
import java.security.cert.X509Certificate;
import java.util.List;

/** Certificates by the tool: what it tells of them, how it finds them, what it warns of. */
class ToolCertificateTest extends ScriptedToken {
    @TempDir
    Path folder;
    private X509Certificate certificate;
    private String file;

    @BeforeEach
    void makeCertificate() throws Exception {
        certificate = KeyTool.certificate("CN=Alice");
        file = Files.write(folder.resolve("in.der"), certificate.getEncoded()).toString();
    }

    @Test
    void theListTellsWhoseACertificateIsAndUntilWhen() {
        String end = certificate.getNotAfter().toInstant().toString();
        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("import-certificate", "-l", "c", "-i", "0aff", file));

        assertPrints("certificate 'c' 0aff, CN=Alice, until " + end.substring(0, 10) + ", without private key\n",
                onToken("list"));
        assertPrints("{\"ok\":true,\"objects\":[{\"kind\":\"certificate\",\"label\":\"c\",\"id\":\"0aff\","
                + "\"keyType\":null,\"subject\":\"CN=Alice\",\"expiry\":\"" + end + "\",\"privateKey\":false}]}\n",
                onToken("list", "--json"));
    }

    @Test
    void anIdAloneFindsACertificate() {
        assertPrints("", onToken("import-certificate", "-l", "c", "-i", "0aff", file));

        assertEquals(onToken("read-certificate", "-l", "c").out, onToken("read-certificate", "--id", "0aff").out);
    }

    @Test
    void anIdThatNoCertificateHasIsRefused() {
        Result text = onToken("read-certificate", "--id", "0aff");
        assertEquals("vornixtoken-tool read-certificate: the token has no certificate with ID 0aff\n", text.err);
        assertEquals(1, text.status);

        Result json = onToken("read-certificate", "--id", "0aff", "--json");
        assertEquals("{\"ok\":false,\"message\":\"the token has no certificate with ID 0aff\","
                + "\"reason\":\"NO_SUCH_OBJECT\"}\n", json.out);
        assertEquals(1, json.status);
    }

    @Test
    void neitherLabelNorIdIsWrongUsage() {
        Result result = onToken("read-certificate");

        assertEquals(2, result.status);
        assertTrue(result.err.startsWith("Missing required option: '--label=TEXT' or '--id=HEX'\n"), result.err);
    }

    @ParameterizedTest
    @CsvSource({"other, ff, in.der", "c, 0aff, other.der"})
    void anImportWarnsOfWhatIsThere(String label, String id, String name) throws Exception {
        Files.write(folder.resolve("other.der"), new byte[] {1});
        String like = folder.resolve(name).toString();
        String warning = "a certificate like it is there already, 'c' with ID 0aff; both stay";
        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("import-certificate", "-l", "c", "-i", "0aff", file));

        Result json = onToken("import-certificate", "-l", label, "-i", id, like, "--json");
        assertEquals("{\"ok\":true,\"warning\":\"" + warning + "\"}\n", json.out);
        assertEquals("", json.err);
        assertEquals(2, onToken("list").out.lines().count());

        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("import-certificate", "-l", "c", "-i", "0aff", file));
        Result text = onToken("import-certificate", "-l", label, "-i", id, like);
        assertEquals("warning: " + warning + "\n", text.err);
        assertEquals(0, text.status);
    }

    @ParameterizedTest
    @CsvSource({"list --json", "import-certificate -l c -i 0aff in.der"})
    void aCommandOpensOneSession(String command) {
        String[] words = command.replace("in.der", file).split(" ", 2);
        List<String> calls = Transcript.during(() -> assertEquals(0, onToken(words[0], words[1].split(" ")).status));

        assertEquals(1, calls.stream().filter(line -> line.startsWith("C_OpenSession")).count(), calls::toString);
        assertEquals(1, calls.stream().filter(line -> line.startsWith("C_Login")).count(), calls::toString);
    }

    private Result onToken(String command, String... arguments) {
        return Tool.runOn(module, READER, command, arguments);
    }
}
