// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;

import examples.ChangePin;
import examples.ChangePuk;
import examples.CleanToken;
import examples.CreateRequest;
import examples.GenerateKeyPairs;
import examples.ImportCertificate;
import examples.ImportCertificateBlocks;
import examples.InitializeToken;
import examples.ListCertificates;
import examples.ListObjects;
import examples.ListReaders;
import examples.NativeMethods;
import examples.ReadCertificate;
import examples.ReadPublicKey;
import examples.ReadTokenInfo;
import examples.ResetReader;
import examples.SignAndVerify;

import jvm.support.Examples;
import jvm.support.KeyTool;
import jvm.support.ScriptedToken;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Files;
import java.nio.file.Path;

/** Every example does what it says. The test's environment holds the PINs. */
class ExamplesTest extends ScriptedToken {
    @Test
    void informationIsShown() throws Exception {
        assertEquals("Scripted Token (Scripted Model, 0123456789abcdef)\n"
                + "[RNG, LOGIN_REQUIRED, USER_PIN_INITIALIZED, TOKEN_INITIALIZED]\n", output(ReadTokenInfo::main));
    }

    @Test
    void objectsAreListedAndCleaned() throws Exception {
        assertEquals("alice 01\nboris 02ff\n", output(ListObjects::main));
        output(CleanToken::main);
        assertEquals("", output(ListObjects::main));
    }

    @Test
    void readersAndCertificatesAreListed() throws Exception {
        assertEquals("'Scripted Reader 0' with Scripted Token (Scripted Model, 0123456789abcdef)\n",
                output(ListReaders::main));
        assertEquals("alice: no X.509 certificate, with its private key\n6 objects\n", output(ListCertificates::main));
    }

    @Test
    void keysAreGeneratedAndRead() throws Exception {
        output(CleanToken::main);
        output(GenerateKeyPairs::main);
        assertEquals("my RSA key 01\nmy GOST key 02\n", output(ListObjects::main));
        assertEquals("2048 bits, exponent 65537\n", output(ReadPublicKey::main, "my RSA key"));
    }

    @Test
    void certificatesAreImported(@TempDir Path folder) throws Exception {
        Path file = Files.write(folder.resolve("c.der"), KeyTool.certificate("CN=Alice").getEncoded());

        assertEquals("CN=Alice\n", output(ImportCertificate::main, file.toString(), "c"));
        assertEquals("CN=Alice\n", output(ReadCertificate::main, "c"));
        assertEquals("NO_SUCH_OBJECT\n", output(ReadCertificate::main, "nobody"));
        assertEquals(Files.size(file) + " bytes\n", output(NativeMethods::main, "c"));
        assertEquals("code 6\n", output(NativeMethods::main, "nobody"));
    }

    @Test
    void certificatesAreImportedInTwoBlocks(@TempDir Path folder) throws Exception {
        Path first = Files.write(folder.resolve("first"), KeyTool.certificate("CN=Alice").getEncoded());
        Path second = Files.write(folder.resolve("second"), new byte[] {7});

        assertEquals("", output(ImportCertificateBlocks::main, first.toString(), second.toString()));
        assertEquals("CN=Alice\n", output(ReadCertificate::main, ""));
    }

    @Test
    void requestsAreBuilt(@TempDir Path folder) throws Exception {
        Path file = folder.resolve("request");
        output(CreateRequest::main, file.toString());

        assertTrue(new String(Files.readAllBytes(file)).contains("subject(1):CN,Alice;"));
    }

    @Test
    void signaturesAreMadeAndJudged() throws Exception {
        assertEquals("67 bytes\nBAD_SIGNATURE\n", output(SignAndVerify::main));
    }

    @Test
    void pinsChangeAndTokensAreInitialised() throws Exception {
        assertEquals("VORNIX Token\n", output(InitializeToken::main));
        output(ChangePin::main);
        output(ChangePuk::main);
    }

    @Test
    void aReaderThatIsNotThereIsNotReset() throws Exception {
        module = "Reader of no such name";
        assertThrows(Pkcs11Exception.class, () -> output(ResetReader::main));
    }

    private String output(Examples.Example example, String... further) throws Exception {
        return Examples.output(example, module, READER, further);
    }
}
