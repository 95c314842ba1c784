// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Tool.assertPrints;
import static jvm.support.Tool.run;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.Result;
import jvm.support.Scripted;
import jvm.support.ScriptedToken;
import jvm.support.Tool;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.nio.file.Files;
import java.nio.file.Path;

/** What the tool hands to the module for a signature and for its verification. */
class ToolSignatureTest extends ScriptedToken {
    @Test
    void filesAreSignedAndVerified(@TempDir Path folder) throws Exception {
        Path data = Files.write(folder.resolve("data"), Scripted.ascii("data"));
        Path out = folder.resolve("out");

        assertPrints("", onToken("sign", "-c", "01", "-k", "01", "--with", "01", "--flags", "1", "-o", out.toString(),
                data.toString()));
        assertEquals("certificate 101;private 103;certificates {101};flags 1;data",
                new String(Files.readAllBytes(out)));
        assertTrue(onToken("sign", data.toString()).out.startsWith("-----BEGIN PKCS7-----\n"));

        assertPrints("good\n", run("verify", "-m", module, data.toString(), data.toString()));
        assertPrints("good\n", run("verify", "-m", module, "--content", data.toString(), data.toString()));
        assertEquals(1, run("verify", "-m", module, data.toString(), out.toString()).status);
        assertEquals(1, run("verify", "-m", module, data.toString()).status);
    }

    @Test
    void verificationTakesTheMessageAsItWasPrinted(@TempDir Path folder) throws Exception {
        Path data = Files.write(folder.resolve("data"), Scripted.ascii("data"));
        Path der = folder.resolve("der");
        Path pem = Files.write(folder.resolve("pem"), onToken("sign", data.toString()).out.getBytes());
        assertPrints("", onToken("sign", "-o", der.toString(), data.toString()));

        assertPrints("good\n", run("verify", "-m", module, pem.toString(), der.toString()));
    }

    @ParameterizedTest
    @CsvSource({"1, 1", "0x1, 1", "0x80000000, 2147483648", "18446744073709551615, 18446744073709551615",
        "0xffffffffffffffff, 18446744073709551615"})
    void flagsAreDecimalOrHexadecimal(String written, String meant, @TempDir Path folder) throws Exception {
        assertEquals("certificate 0;private 0;certificates null;flags " + meant + ";",
                signed(folder, "--flags " + written));
    }

    @ParameterizedTest
    @ValueSource(strings = {"", "0x", "x", "1 ", "-1", "0x10000000000000000"})
    void otherFlagsAreWrongUsage(String written) {
        Result result = onToken("sign", "--flags", written, "/dev/null");

        assertEquals(2, result.status);
        assertTrue(result.err.contains("'" + written + "' is no number of 64 bits\n"), result.err);
    }

    @ParameterizedTest
    @CsvSource({"'', 0", "--enclosed, 0", "--detached, 1", "-d, 1"})
    void modesHaveNames(String option, String word, @TempDir Path folder) throws Exception {
        assertEquals("certificate 0;private 0;certificates null;flags " + word + ";", signed(folder, option));
    }

    @Test
    void aModeIsGivenOnce() {
        Result result = onToken("sign", "--detached", "--flags", "1", "/dev/null");

        assertEquals(2, result.status);
        assertTrue(result.err.contains("--detached"), result.err);
    }

    @ParameterizedTest
    @CsvSource({"--id 01, 101, 103", "-i 02ff -c 01, 101, 105", "-i 01 -k 02ff, 101, 105"})
    void oneIdNamesCertificateAndKey(String options, String certificate, String key, @TempDir Path folder)
            throws Exception {
        String message = signed(folder, options);

        assertTrue(message.startsWith("certificate " + certificate + ";private " + key + ";"), message);
    }

    @Test
    void theContentIsGivenOnce() {
        Result result = run("verify", "-m", module, "--content", "/dev/null", "/dev/zero", "/dev/null");

        assertEquals(2, result.status);
        assertTrue(result.err.startsWith("The content is given twice: '--content=/dev/null' and '/dev/null'\n"),
                result.err);
    }

    private String signed(Path folder, String options) throws Exception {
        Path out = folder.resolve("out");
        assertPrints("", onToken("sign", (options + " -o " + out + " /dev/null").trim().split(" +")));
        return new String(Files.readAllBytes(out));
    }

    private Result onToken(String command, String... arguments) {
        return Tool.runOn(module, READER, command, arguments);
    }
}
