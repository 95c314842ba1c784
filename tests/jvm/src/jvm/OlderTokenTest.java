// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.support.ChildJvm;
import jvm.support.Documents;
import jvm.support.Processes;
import jvm.support.Result;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Collectors;

/** Folders of the software token that released versions wrote, with the PIN 12345678 and the same objects in each. */
@Tag("softtoken")
class OlderTokenTest {
    static List<String> folders() throws IOException {
        return Documents.files("tests/jvm/data", ".tar.gz");
    }

    @ParameterizedTest
    @MethodSource("folders")
    void anOlderFolderIsReadAndUsed(String archive, @TempDir Path folder) throws Exception {
        Path token = Files.createDirectory(folder.resolve("token"));
        Processes.run("tar", "-xzf", Documents.ROOT.resolve(archive).toString(), "-C", token.toString(), "--no-same-owner");
        Path content = Files.writeString(folder.resolve("content"), "I owe you one");
        Path message = folder.resolve("message");
        Path certificate = Files.writeString(folder.resolve("certificate.pem"),
                tool(token, "read-certificate", "--label", "old key", "--id", "01"));

        assertEquals(List.of("certificate 'old key' 01, CN=Old Holder, until 2126-10-29, with private key",
                "private key 'old GOST key' 02 GOSTR3410", "private key 'old key' 01 RSA",
                "public key 'old GOST key' 02 GOSTR3410", "public key 'old key' 01 RSA"),
                tool(token, "list").lines().sorted().collect(Collectors.toList()));
        tool(token, "sign", "--id", "01", "--out", message.toString(), content.toString());
        Processes.run("openssl", "cms", "-verify", "-no_check_time", "-partial_chain", "-inform", "DER",
                "-in", message.toString(), "-CAfile", certificate.toString(), "-out", folder.resolve("out").toString());
        assertEquals("I owe you one", Files.readString(folder.resolve("out")));
        tool(token, "create-request", "--id", "02", "--subject", "CN=Old Holder");
        tool(token, "generate-rsa", "--label", "new key", "--id", "03");
        assertEquals(7, tool(token, "list").lines().count());
    }

    private static String tool(Path token, String... arguments) throws Exception {
        Result result = new ChildJvm().environment("VORNIX_SOFTTOKEN_DIR", token.toString())
                .toolOn(System.getProperty("vornix.softtoken"), "Vornix Soft Reader 00 00", arguments);
        assertEquals("", result.err);
        assertEquals(0, result.status);
        return result.out;
    }
}
