// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.programs.BesideTheProvider;
import jvm.support.ChildJvm;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.SoftHsm;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.List;

/** The JDK's own PKCS #11 provider uses the same module in the same process, with neither knowing of the other. */
class JdkProviderTest {
    @TempDir
    Path folder;

    @ParameterizedTest
    @ValueSource(strings = {"provider", "api"})
    void bothWorkOnSoftHsm(String first) throws Exception {
        assertBothWork(first, SoftHsm.MODULE, SoftHsm.newToken());
    }

    @ParameterizedTest
    @ValueSource(strings = {"provider", "api"})
    @Tag("softtoken")
    void bothWorkOnTheSoftwareToken(String first) throws Exception {
        String module = System.getProperty("vornix.softtoken");
        String reader = "Vornix Soft Reader 00 00";
        new Token(module, reader).initialize(Pin.of(SoftHsm.SO_PIN.toCharArray()));

        assertBothWork(first, module, reader);
    }

    private void assertBothWork(String first, String module, String reader) throws Exception {
        List<String> lines = Arrays.asList("name = Token", "library = " + module,
                "slotListIndex = " + index(module, reader));
        Path configuration = Files.write(folder.resolve("provider.cfg"), lines);
        keytool("-genkeypair", "-keystore", "NONE", "-storetype", "PKCS11", "-addprovider", "SunPKCS11", "-providerarg",
                configuration.toString(), "-storepass", SoftHsm.PIN, "-keyalg", "RSA", "-alias", "alice", "-dname",
                "CN=Alice");
        Path jar = folder.resolve("content.jar");
        Processes.run(program("jar"), "--create", "--file", jar.toString(), "-C", folder.toString(), "provider.cfg");

        Result result = new ChildJvm().run(BesideTheProvider.class, first, module, reader, SoftHsm.PIN,
                configuration.toString(), jar.toString());

        assertEquals("done\n", result.out, result::toString);
        assertEquals(0, result.status, result::toString);
    }

    private static int index(String module, String reader) throws Exception {
        List<Reader> readers = Token.readers(module);
        Token.unload(module);
        for (int i = 0; i < readers.size(); i++) {
            if (readers.get(i).getName().equals(reader)) {
                return i;
            }
        }
        throw new AssertionError("no reader " + reader + " in " + readers);
    }

    private static void keytool(String... arguments) throws IOException, InterruptedException {
        String[] command = new String[arguments.length + 1];
        command[0] = program("keytool");
        System.arraycopy(arguments, 0, command, 1, arguments.length);
        Processes.run(command);
    }

    private static String program(String name) {
        return Paths.get(System.getProperty("java.home"), "bin", name).toString();
    }
}
