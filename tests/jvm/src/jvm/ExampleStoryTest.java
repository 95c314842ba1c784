// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import examples.CleanToken;
import examples.CreateRequest;
import examples.GenerateKeyPairs;
import examples.ImportCertificate;
import examples.InitializeToken;
import examples.ListObjects;
import examples.ReadCertificate;
import examples.ReadPublicKey;
import examples.SignAndVerify;

import jvm.support.Authority;
import jvm.support.Examples;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.stream.Collectors;

/** The examples one after another, on a token that signs. The test's environment holds the PINs. */
@Tag("softtoken")
class ExampleStoryTest {
    @Test
    void aTokenIsInitialisedUsedAndCleaned(@TempDir Path folder) throws Exception {
        Path request = folder.resolve("request");
        assertEquals("VORNIX Token\n", output(InitializeToken::main));
        assertEquals("", output(GenerateKeyPairs::main));
        assertEquals("", output(CreateRequest::main, request.toString()));
        Path certificate = Files.write(folder.resolve("alice"),
                Authority.certify(folder, Files.readAllBytes(request)).getEncoded());
        assertEquals("CN=Alice\n", output(ImportCertificate::main, certificate.toString(), "alice"));

        assertEquals("my GOST key 02\nmy RSA key 01\n",
                output(ListObjects::main).lines().sorted().map(line -> line + "\n").collect(Collectors.joining()));
        assertEquals("CN=Alice\n", output(ReadCertificate::main, "alice"));
        assertEquals("2048 bits, exponent 65537\n", output(ReadPublicKey::main, "my RSA key"));
        String judged = output(SignAndVerify::main);
        assertTrue(judged.matches("\\d+ bytes\ngood\n"), judged);

        assertEquals("", output(CleanToken::main));
        assertEquals("", output(ListObjects::main));
    }

    private static String output(Examples.Example example, String... further) throws Exception {
        return Examples.output(example, System.getProperty("vornix.softtoken"), "Vornix Soft Reader 00 00", further);
    }
}
