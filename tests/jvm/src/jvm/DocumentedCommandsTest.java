// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import jvm.support.Dialogue;
import jvm.support.Documents;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;

/**
 * What the documents say that programs print. The commands see what an installation into /usr/local would have, made of
 * links, an empty home folder, and no tokens but those that they make there. VORNIX_RECORD=1 in the environment writes
 * what is really printed into the documents.
 */
@Tag("documents")
class DocumentedCommandsTest {
    private static final Path MODULE = Paths.get(System.getProperty("vornix.softtoken"));
    private static final Path BUILT = MODULE.getParent();

    /** Where it does not, the demonstration has another judge, and says so in a line of its own. */
    private static final String AS_IF_OPENSSL_KNEW_GOST = "sed '/ judges GOST[.]$/d; s/Bouncy Castle/openssl/'";

    @TempDir
    Path folder;

    static List<String> documentsWithCommands() throws IOException {
        List<String> names = new ArrayList<>();
        for (String name : Documents.all()) {
            if (!new Dialogue(Documents.text(name)).isEmpty()) {
                names.add(name);
            }
        }
        return names;
    }

    @ParameterizedTest
    @MethodSource("documentsWithCommands")
    void programsPrintWhatTheDocumentSays(String name) throws Exception {
        String text = Documents.text(name);
        String real = new Dialogue(text.replace("/usr/local/", prefix() + "/")).replayed(folder, environment())
                .replace(prefix() + "/", "/usr/local/");

        if (System.getenv("VORNIX_RECORD") != null) {
            Files.write(Documents.ROOT.resolve(name), real.getBytes(StandardCharsets.UTF_8));
        } else {
            assertSameLines(name, withoutReset(text, real), withoutReset(real, real));
        }
    }

    @Test
    void theHelpOfEveryCommandIsThere() throws IOException {
        String text = Documents.text("docs/tool.md");
        for (String command : VornixTokenTool.commandLine().getSubcommands().keySet()) {
            assertTrue(text.contains("\n$ vornixtoken-tool " + command + " --help\n"), command);
        }
    }

    /** Names the first line that differs: a document is too long for a message. */
    private static void assertSameLines(String name, String text, String real) {
        String[] written = text.split("\n", -1);
        String[] printed = real.split("\n", -1);
        for (int i = 0; i < Math.max(written.length, printed.length); i++) {
            String place = name + ":" + (i + 1) + " is not so; scripts/tour.sh writes what is";
            assertEquals(i < written.length ? written[i] : "nothing", i < printed.length ? printed[i] : "nothing", place);
        }
    }

    /** A demonstration without the rights that it needs leaves its last step out. */
    private static String withoutReset(String text, String real) {
        return real.contains("\n   LEFT OUT: ") ? text.split("\n20\\. ")[0] : text;
    }

    private Path prefix() {
        return folder.resolve("prefix");
    }

    private String environment() throws IOException {
        link("bin/vornixtoken-tool", BUILT.resolve("vornixtoken-tool"));
        link("lib/pkcs11/" + MODULE.getFileName(), MODULE);
        Path home = Files.createDirectory(folder.resolve("home"));
        return "for name in ${!VORNIX_@} XDG_DATA_HOME; do unset $name; done\n"
                + "export HOME='" + home + "' JAVA_HOME='" + System.getProperty("java.home") + "'\n"
                + "export PATH=\"" + prefix() + "/bin:$JAVA_HOME/bin:$PATH\"\n"
                + "set -o pipefail\n"
                + "scripts/demo.sh() { VORNIX_USER_PIN=12345678 VORNIX_SO_PIN=87654321 java -Djava.library.path='" + BUILT
                + "' -jar '" + System.getProperty("vornix.demo") + "' life '" + MODULE + "' 'Vornix Soft Reader 00 00' '"
                + Documents.ROOT + "/tools/virtual_reader/in_pcsc_namespace.sh' '" + BUILT + "/with_virtual_card' | "
                + AS_IF_OPENSSL_KNEW_GOST + "; }\n"
                + "cd \"$HOME\"";
    }

    private void link(String name, Path target) throws IOException {
        Path link = prefix().resolve(name);
        Files.createDirectories(link.getParent());
        Files.createSymbolicLink(link, target);
    }
}
