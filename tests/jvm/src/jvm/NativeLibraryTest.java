package jvm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.io.File;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;

/** Where the library is looked for, each time by a process that has not loaded it yet. */
class NativeLibraryTest {
    private static final String FILE = "libVornixToken_Javalib.so";
    private static final Path LIBRARY = Paths.get(System.getProperty("java.library.path"), FILE);
    private static final String MODULE = "com.tovr.smartcard.vornixtoken";

    /** Neither java.library.path nor the system's folder leads anywhere. */
    private static final String OTHER_MACHINE = "-Dos.arch=other";

    private Path empty;
    private ChildJvm child;

    @BeforeEach
    void prepare(@TempDir Path folder) throws Exception {
        empty = Files.createDirectory(folder.resolve("empty"));
        child = granted(new ChildJvm(empty.toString()), "ALL-UNNAMED").options("-Djava.io.tmpdir=" + empty);
    }

    @Test
    void thePropertyNamesTheFile() throws Exception {
        assertLoaded(child.options(OTHER_MACHINE, "-Dvornixtoken.library=" + LIBRARY).run(LibraryLoader.class));
    }

    @Test
    void nothingElseIsTriedWhenThePropertyNamesAWrongFile() throws Exception {
        ChildJvm.Result result = new ChildJvm().options("-Dvornixtoken.library=/nonexistent.so")
                .run(LibraryLoader.class);

        assertEquals(FILE + " cannot be loaded. Tried:\n"
                + "- system property vornixtoken.library: Can't load library: /nonexistent.so\n", result.out);
    }

    @Test
    void javaLibraryPathIsSearched() throws Exception {
        assertLoaded(granted(new ChildJvm(), "ALL-UNNAMED").options(OTHER_MACHINE).run(LibraryLoader.class));
    }

    @Test
    void aCopyOfTheClassPathIsUnpackedAndRemoved(@TempDir Path folder) throws Exception {
        Path copy = folder.resolve("natives/linux-other/" + FILE);
        Files.createDirectories(copy.getParent());
        Files.copy(LIBRARY, copy);

        assertLoaded(child.options(OTHER_MACHINE)
                .run(folder + File.pathSeparator + System.getProperty("java.class.path"), LibraryLoader.class));

        assertArrayEquals(new String[0], empty.toFile().list());
    }

    @Test
    void theJarOfThisPlatformHoldsACopy() throws Exception {
        String classes = System.getProperty("java.class.path").split(File.pathSeparator)[0];

        assertLoaded(child
                .run(System.getProperty("vornix.platform.jar") + File.pathSeparator + classes, LibraryLoader.class));
    }

    @Test
    void everyPlaceThatWasTriedIsTold() throws Exception {
        ChildJvm.Result result = child.options(OTHER_MACHINE).run(LibraryLoader.class);

        String systemFile = "/usr/lib/other-linux-gnu/jni/" + FILE;
        assertEquals(FILE + " cannot be loaded. Tried:\n"
                + "- System.loadLibrary: no VornixToken_Javalib in java.library.path: " + empty + "\n"
                + "- file: Can't load library: " + systemFile + "\n"
                + "- jar: /natives/linux-other/" + FILE + " is not in the jar\n", result.out);
        assertEquals(1, result.status);
    }

    @Test
    @Tag("java24")
    void accessThatIsDeniedIsTold() throws Exception {
        ChildJvm.Result result = new ChildJvm().options("--illegal-native-access=deny").run(LibraryLoader.class);

        assertDenied("ALL-UNNAMED", result);
    }

    @Test
    @Tag("java24")
    void accessThatIsDeniedToTheModuleIsTold() throws Exception {
        ChildJvm.Result result = onModulePath().options("--illegal-native-access=deny").run(LibraryLoader.class);

        assertDenied(MODULE, result);
    }

    @Test
    void theModuleNeedsAccessForItselfAlone() throws Exception {
        ChildJvm module = onModulePath();
        if (Runtime.version().feature() >= 24) {
            module.options("--illegal-native-access=deny");
        }
        assertLoaded(granted(module, MODULE).run(LibraryLoader.class));
    }

    /** With the option that keeps Java silent, where Java knows it. */
    private static ChildJvm granted(ChildJvm jvm, String name) {
        return Runtime.version().feature() >= 17 ? jvm.options("--enable-native-access=" + name) : jvm;
    }

    private static ChildJvm onModulePath() {
        return new ChildJvm().options("--module-path", System.getProperty("vornix.jar"), "--add-modules", MODULE);
    }

    private static void assertLoaded(ChildJvm.Result result) {
        assertEquals("result 0\n", result.out, result::toString);
        assertEquals("", result.err);
    }

    private static void assertDenied(String toWhom, ChildJvm.Result result) {
        assertTrue(result.out.startsWith(FILE + " may not be loaded: Illegal native access from "), result::toString);
        assertTrue(result.out.endsWith(". Start Java with --enable-native-access=" + toWhom + "\n"), result::toString);
        assertEquals(1, result.status);
    }
}
