package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import examples.ChangePin;
import examples.ChangePuk;
import examples.CleanToken;
import examples.CreateRequest;
import examples.GenerateKeyPairs;
import examples.ImportCertificate;
import examples.InitializeToken;
import examples.ListObjects;
import examples.NativeMethods;
import examples.ReadPublicKey;
import examples.ReadTokenInfo;
import examples.ResetReader;
import examples.SignAndVerify;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.io.ByteArrayOutputStream;
import java.io.PrintStream;
import java.nio.file.Files;
import java.nio.file.Path;

/** Every example does what it says. The test's environment holds the PINs. */
class ExamplesTest extends ScriptedToken {
    private interface Example {
        void main(String[] arguments) throws Exception;
    }

    @Test
    void informationIsShown() throws Exception {
        assertEquals("Scripted Token (Scripted Model, 0123456789abcdef)\n"
                + "[RNG, LOGIN_REQUIRED, USER_PIN_INITIALIZED, TOKEN_INITIALIZED]\n", output(ReadTokenInfo::main));
        assertEquals("Scripted Token\n", output(NativeMethods::main));
    }

    @Test
    void objectsAreListedAndCleaned() throws Exception {
        assertEquals("alice 01\nboris 02ff\n", output(ListObjects::main));
        output(CleanToken::main);
        assertEquals("", output(ListObjects::main));
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
    }

    @Test
    void requestsAreBuilt(@TempDir Path folder) throws Exception {
        Path file = folder.resolve("request");
        output(CreateRequest::main, file.toString());

        assertTrue(new String(Files.readAllBytes(file)).contains("subject(1):CN,Alice;"));
    }

    @Test
    void signaturesAreMadeAndJudged() throws Exception {
        assertEquals("67 bytes\nbad: CKR_SIGNATURE_INVALID\n", output(SignAndVerify::main));
    }

    @Test
    void pinsChangeAndTokensAreInitialised() throws Exception {
        assertEquals("VORNIX Token\n", output(InitializeToken::main));
        output(ChangePin::main);
        output(ChangePuk::main);
    }

    @Test
    void aReaderIsReset() throws Exception {
        module = "Reader of no such name";
        assertEquals("", output(ResetReader::main));
    }

    private String output(Example example, String... further) throws Exception {
        String[] arguments = new String[2 + further.length];
        arguments[0] = module;
        arguments[1] = READER;
        System.arraycopy(further, 0, arguments, 2, further.length);

        PrintStream before = System.out;
        ByteArrayOutputStream written = new ByteArrayOutputStream();
        System.setOut(new PrintStream(written, true, "UTF-8"));
        try {
            example.main(arguments);
        } finally {
            System.setOut(before);
        }
        return written.toString("UTF-8");
    }
}
