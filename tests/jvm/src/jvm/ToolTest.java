// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static jvm.support.Tool.run;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import jvm.support.KeyTool;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.Scripted;
import jvm.support.ScriptedToken;
import jvm.support.Tool;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

import picocli.CommandLine;

import java.io.RandomAccessFile;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.cert.X509Certificate;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** The command-line tool. The test's environment holds VORNIX_USER_PIN, VORNIX_SO_PIN and VORNIX_NEW_PIN. */
class ToolTest extends ScriptedToken {
    @Test
    void infoIsText() {
        assertPrints("label:         Scripted Token\n"
                + "manufacturer:  Scripted Works\n"
                + "model:         Scripted Model\n"
                + "serial number: 0123456789abcdef\n"
                + "flags:         [RNG, LOGIN_REQUIRED, USER_PIN_INITIALIZED, TOKEN_INITIALIZED]\n", onToken("info"));
    }

    @Test
    void infoIsJson() {
        assertPrints("{\"ok\":true,\"label\":\"Scripted Token\",\"manufacturer\":\"Scripted Works\","
                + "\"model\":\"Scripted Model\",\"serialNumber\":\"0123456789abcdef\","
                + "\"flags\":[\"RNG\",\"LOGIN_REQUIRED\",\"USER_PIN_INITIALIZED\",\"TOKEN_INITIALIZED\"]}\n",
                onToken("info", "--json"));
    }

    @Test
    void objectsAreListed() {
        assertTrue(onToken("list").out
                .startsWith("certificate 'alice' 01, with private key\npublic key 'alice' 01 RSA\n"));
        assertTrue(onToken("list", "--json").out.startsWith("{\"ok\":true,\"objects\":["
                + "{\"kind\":\"certificate\",\"label\":\"alice\",\"id\":\"01\",\"keyType\":null,"
                + "\"subject\":null,\"expiry\":null,\"privateKey\":true},"));
    }

    @Test
    void jsonIsAsciiWhateverTheLabel(@TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("c"), new byte[] {1});
        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("import-certificate", "-l", "\"\\\n\u00eb\uD83D\uDE00", file.toString()));

        assertPrints("{\"ok\":true,\"objects\":[{\"kind\":\"certificate\","
                + "\"label\":\"\\\"\\\\\\u000a\\u00eb\\ud83d\\ude00\",\"id\":\"\",\"keyType\":null,"
                + "\"subject\":null,\"expiry\":null,\"privateKey\":false}]}\n",
                onToken("list", "--json"));
    }

    @Test
    void pinAndPukChange() {
        assertPrints("", onToken("change-pin"));
        assertEquals(1, onToken("list").status);
        assertPrints("{\"ok\":true}\n", onToken("change-puk", "--json"));
        assertEquals(1, onToken("init", "--yes").status);
    }

    @Test
    void aPinFilesFirstLineIsThePin(@TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("pin"), Arrays.asList("new PIN", "not this"));
        assertPrints("", onToken("change-pin", "--new-pin-file", file.toString()));

        assertEquals(1, onToken("list").status);
        assertEquals(0, onToken("list", "--pin-file", file.toString()).status);
    }

    @Test
    void initialisingAndCleaningAreSilent() {
        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("list"));
        assertPrints("", onToken("init", "--yes"));
        assertTrue(onToken("info").out.startsWith("label:         VORNIX Token\n"));
    }

    @Test
    void certificatesGoInAndOut(@TempDir Path folder) throws Exception {
        X509Certificate certificate = KeyTool.certificate("CN=Alice");
        Path in = Files.write(folder.resolve("in.der"), certificate.getEncoded());
        Path out = folder.resolve("out.der");

        assertPrints("", onToken("import-certificate", "--label", "c", "--id", "0aFF", in.toString()));
        assertPrints("", onToken("read-certificate", "--label", "c", "--out", out.toString()));
        assertArrayEquals(certificate.getEncoded(), Files.readAllBytes(out));

        String text = onToken("read-certificate", "-l", "c", "-i", "0aff").out;
        Path pem = Files.write(folder.resolve("c.pem"), text.getBytes());
        assertTrue(Processes.run("openssl", "x509", "-in", pem.toString(), "-noout", "-subject").contains("Alice"));

        assertPrints("", onToken("clean", "--yes"));
        assertPrints("", onToken("import-certificate", "-l", "from PEM", pem.toString()));
        assertEquals(text, onToken("read-certificate", "-l", "from PEM").out);

        assertPrints("", onToken("import-blocks", in.toString(), pem.toString()));
    }

    @Test
    void keysAreGeneratedAndRead(@TempDir Path folder) throws Exception {
        assertPrints("", onToken("generate-rsa", "--label", "r", "--id", "09", "--bits", "2048"));
        assertPrints("", onToken("generate-gost", "--label", "g"));

        Path pem = Files.write(folder.resolve("k.pem"), onToken("read-public-key", "-l", "r").out.getBytes());
        assertTrue(Processes.run("openssl", "pkey", "-pubin", "-in", pem.toString(), "-noout", "-text")
                .contains("Public-Key: (2048 bit)"));
        assertTrue(onToken("read-public-key", "-l", "r", "--json").out.contains("\"exponent\":65537,"));
    }

    @Test
    void damagedPemIsRefused(@TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("c.pem"),
                Scripted.ascii("-----BEGIN CERTIFICATE-----\nA\n-----END CERTIFICATE-----\n"));

        Result result = onToken("import-certificate", "-l", "c", file.toString());

        assertEquals(3, result.status);
        assertTrue(result.err.contains(file + " is damaged PEM: "), result.err);
    }

    @Test
    void wrongUsageIsJsonToo() {
        Result result = onToken("list", "--json", "--no-such-option");

        assertEquals(2, result.status);
        assertEquals("{\"ok\":false,\"message\":\"Unknown option: '--no-such-option'\"}\n", result.out);
        assertEquals("", result.err);
    }

    @Test
    void aRequestIsBuiltFromNamedTexts(@TempDir Path folder) throws Exception {
        Path out = folder.resolve("out");

        assertPrints("", onToken("create-request", "--id", "01", "-s", "CN=Alice", "-s", "O=A=B", "-a", "x=",
                "-x", "keyUsage=critical,digitalSignature,keyAgreement", "-x", "extendedKeyUsage=clientAuth",
                "-o", out.toString()));

        assertEquals("public 102;private 103;subject(2):CN,Alice,O,A=B;attributes(1):x,;"
                + "extensions(2):keyUsage,critical,digitalSignature,keyAgreement,extendedKeyUsage,,clientAuth;",
                new String(Files.readAllBytes(out)));
    }

    @Test
    void refusalsHaveStatusOneAndAName() {
        Result text = onToken("read-certificate", "-l", "nobody");
        assertEquals(1, text.status);
        assertTrue(text.err.startsWith("vornixtoken-tool read-certificate: reading certificate 'nobody', "), text.err);
        assertTrue(text.err.endsWith(": CKR_FUNCTION_FAILED (0x6), no such object\n"), text.err);

        Result json = onToken("read-certificate", "-l", "nobody", "--json");
        assertEquals(1, json.status);
        assertTrue(json.out.startsWith("{\"ok\":false,\"code\":6,\"name\":\"CKR_FUNCTION_FAILED\",\"message\":\""),
                json.out);
        assertEquals("", json.err);
    }

    @Test
    void wrongUsageHasStatusTwo() {
        assertEquals(2, run().status);
        assertEquals(2, run("no-such-command").status);
        assertEquals(2, run("info", "-t", READER).status);
        assertEquals(2, onToken("read-certificate", "-l", "x", "-i", "0").status);
        assertEquals(2, onToken("create-request", "-i", "01", "-s", "CN").status);
        assertEquals(2, onToken("list", "--pin", "12345678").status, "a PIN is no argument");
    }

    @Test
    void otherFailuresHaveStatusThree() {
        Result result = onToken("sign", "/nonexistent");

        assertEquals(3, result.status);
        assertEquals("vornixtoken-tool sign: no such file: /nonexistent\n", result.err);
    }

    @Test
    void aFileBeyondAllMemoryHasStatusThree(@TempDir Path folder) throws Exception {
        Path file = folder.resolve("large");
        try (RandomAccessFile large = new RandomAccessFile(file.toFile(), "rw")) {
            large.setLength(1L << 32);
        }
        Result result = onToken("sign", file.toString());

        assertEquals(3, result.status);
        assertTrue(result.err.startsWith("vornixtoken-tool sign: not enough memory: "), result.err);
    }

    @Test
    void resettingAReaderThatIsNotThereIsRefused() {
        Result result = run("reset-terminal", "-t", "Reader of no such name");

        assertEquals(1, result.status);
        assertTrue(result.err.contains("'Reader of no such name': SCARD_"), result.err);
    }

    @ParameterizedTest
    @ValueSource(strings = {"readers", "doctor", "info", "list", "change-pin", "change-puk", "init", "clean", "reset-terminal",
        "read-certificate", "read-public-key", "import-certificate", "import-blocks", "generate-rsa", "generate-gost",
        "sign", "verify", "create-request"})
    void everyJobHasACommandWithHelp(String command) {
        Result help = run(command, "--help");

        assertEquals(0, help.status);
        assertTrue(help.out.startsWith("Usage: vornixtoken-tool " + command + " "), help.out);
        assertTrue(run("--help").out.contains("\n  " + command + " "));
        assertEquals(run("--version").out, run(command, "--version").out);
    }

    @ParameterizedTest
    @MethodSource("everyHelp")
    void examplesOfTheHelpAreValid(List<String> help) throws Exception {
        String examples = run(help.toArray(new String[0])).out.split("(?m)^Examples?:\n")[1].split("\n\n")[0];

        List<List<String>> calls = calls(examples);

        assertFalse(calls.isEmpty());
        for (List<String> call : calls) {
            CommandLine tool = VornixTokenTool.commandLine();
            Set<String> options = tool.getSubcommands().get(call.get(0)).getCommandSpec().optionsMap().keySet();
            for (String option : Arrays.asList("--module", "--terminal")) {
                if (options.contains(option) && !call.contains(option)) {
                    call.addAll(Arrays.asList(option, "from the environment"));
                }
            }
            tool.parseArgs(call.toArray(new String[0]));
        }
    }

    static Stream<List<String>> everyHelp() {
        return Stream.concat(Stream.of(Arrays.asList("--help")),
                VornixTokenTool.commandLine().getSubcommands().keySet().stream()
                        .filter(command -> !command.equals("help") && !command.equals("generate-completion"))
                        .map(command -> Arrays.asList(command, "--help")));
    }

    /** The arguments of each call of the tool that bash makes of a piece of script. */
    private static List<List<String>> calls(String script) throws Exception {
        String told = Processes.run("bash", "-c",
                "exec 3>&1; vornixtoken-tool() { printf '%s\\n' \"$@\" '' >&3; }\n" + script);
        return Stream.of(told.split("\n\n")).map(call -> new ArrayList<>(Arrays.asList(call.split("\n"))))
                .collect(Collectors.toList());
    }

    private Result onToken(String command, String... arguments) {
        return Tool.runOn(module, READER, command, arguments);
    }
}
