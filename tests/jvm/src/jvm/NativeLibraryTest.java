// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.programs.LibraryLoader;
import jvm.programs.PreloadedLibrary;
import jvm.programs.VerificationAlone;
import jvm.support.ChildJvm;
import jvm.support.Result;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.regex.Pattern;

/** Where the library is looked for, each time by a process that has not loaded it yet. */
class NativeLibraryTest {
    private static final String FILE = "libVornixToken_Javalib.so";
    private static final Path FOLDER = Paths.get(System.getProperty("java.library.path"));
    private static final Path LIBRARY = FOLDER.resolve(FILE);
    private static final String SESSION_FILE = "libvornixtoken_session.so";
    private static final String MODULE = "com.tovr.smartcard.vornixtoken";

    /** Neither java.library.path nor the system's folder leads anywhere. */
    private static final String OTHER_MACHINE = "-Dos.arch=other";

    private Path empty;
    private ChildJvm child;

    @BeforeEach
    void prepare(@TempDir Path folder) throws Exception {
        empty = Files.createDirectory(folder.resolve("empty"));
        child = new ChildJvm(empty.toString()).grant("ALL-UNNAMED").options("-Djava.io.tmpdir=" + empty);
    }

    @Test
    void thePropertyNamesTheFile() throws Exception {
        assertLoaded(child.options(OTHER_MACHINE, "-Dvornixtoken.library=" + LIBRARY).run(LibraryLoader.class));
    }

    @Test
    void aRelativeNameCountsFromTheWorkingFolder() throws Exception {
        Path relative = Paths.get("").toAbsolutePath().relativize(LIBRARY.toAbsolutePath());

        assertLoaded(child.options(OTHER_MACHINE, "-Dvornixtoken.library=" + relative).run(LibraryLoader.class));
    }

    @Test
    void itsFolderMayHaveAnyName(@TempDir Path folder) throws Exception {
        Path odd = Files.createDirectory(folder.resolve("o d\u00eb \u6f22"));
        copyInto(odd);

        assertLoaded(child.options(OTHER_MACHINE, "-Dvornixtoken.library=" + odd.resolve(FILE)).run(LibraryLoader.class));
    }

    @ParameterizedTest
    @ValueSource(strings = {"", " "})
    void anEmptyPropertyIsTold(String empty) throws Exception {
        Result result = new ChildJvm().options("-Dvornixtoken.library=" + empty).run(LibraryLoader.class);

        assertEquals(FILE + " cannot be loaded. Tried:\n- system property vornixtoken.library: it is empty\n",
                result.out);
    }

    @Test
    void nothingElseIsTriedWhenThePropertyNamesAWrongFile() throws Exception {
        Result result = new ChildJvm().options("-Dvornixtoken.library=/nonexistent.so")
                .run(LibraryLoader.class);

        assertEquals(FILE + " cannot be loaded. Tried:\n"
                + "- system property vornixtoken.library: Can't load library: /nonexistent.so\n", result.out);
    }

    @Test
    void aLibraryThatTheApplicationHasLoadedIsTaken() throws Exception {
        Result result = child.options(OTHER_MACHINE, "-Dvornixtoken.library=/nonexistent.so")
                .run(PreloadedLibrary.class, FOLDER.resolve(SESSION_FILE).toAbsolutePath().toString());

        assertEquals("Scripted Token\n", result.out, result::toString);
    }

    @Test
    void theSessionLibraryHasAPropertyOfItsOwn(@TempDir Path folder) throws Exception {
        Path copy = Files.copy(FOLDER.resolve(SESSION_FILE), folder.resolve("other name.so"));

        assertLoaded(child.options(OTHER_MACHINE, "-Dvornixtoken.library=" + LIBRARY,
                "-Dvornixtoken.sessionLibrary=" + copy).run(LibraryLoader.class));
        Result result = new ChildJvm().options("-Dvornixtoken.sessionLibrary=/nonexistent.so").run(LibraryLoader.class);
        assertEquals(SESSION_FILE + " cannot be loaded. Tried:\n"
                + "- system property vornixtoken.sessionLibrary: Can't load library: /nonexistent.so\n", result.out);
    }

    @Test
    void javaLibraryPathIsSearched() throws Exception {
        assertLoaded(new ChildJvm().grant("ALL-UNNAMED").options(OTHER_MACHINE).run(LibraryLoader.class));
    }

    @Test
    void aVerificationLoadsItToo() throws Exception {
        assertLoaded(new ChildJvm().grant("ALL-UNNAMED").run(VerificationAlone.class));
    }

    @Test
    void aCopyOfTheClassPathIsUnpackedAndRemoved(@TempDir Path folder) throws Exception {
        assertLoaded(child.options(OTHER_MACHINE).run(withCopy(folder), LibraryLoader.class));

        assertArrayEquals(new String[0], empty.toFile().list());
    }

    @Test
    void theJarOfThisPlatformHoldsACopy() throws Exception {
        String classes = System.getProperty("java.class.path").split(File.pathSeparator)[0];

        assertLoaded(child
                .run(System.getProperty("vornix.platform.jar") + File.pathSeparator + classes, LibraryLoader.class));
    }

    @ParameterizedTest
    @CsvSource({"other, other-linux-gnu", "aarch64, aarch64-linux-gnu", "arm, arm-linux-gnueabihf",
        "i386, i386-linux-gnu", "ppc64le, powerpc64le-linux-gnu", "riscv64, riscv64-linux-gnu",
        "s390x, s390x-linux-gnu"})
    void everyPlaceThatWasTriedIsTold(String architecture, String triplet) throws Exception {
        Result result = child.options("-Dos.arch=" + architecture).run(LibraryLoader.class);

        assertEquals(FILE + " cannot be loaded. Tried:\n"
                + "- System.loadLibrary: no VornixToken_Javalib in java.library.path: " + empty + "\n"
                + "- file: Can't load library: /usr/lib/" + triplet + "/jni/" + FILE + "\n"
                + "- jar: /natives/linux-" + architecture + "/" + FILE + " is not in the jar\n", result.out);
        assertEquals(1, result.status);
    }

    @Test
    void aFolderThatIsNotThereForTheCopyIsTold(@TempDir Path folder) throws Exception {
        assertNotUnpacked("java.nio.file.NoSuchFileException: ", folder.resolve("absent"), withCopy(folder));
    }

    @Test
    @Tag("noexec")
    void aFolderThatDoesNotAllowExecutionIsTold(@TempDir Path folder) throws Exception {
        Path noexec = Paths.get(System.getenv("NOEXEC_FOLDER"));

        assertNotUnpacked(noexec + "/vornixtoken\\d+/" + FILE + ": failed to map segment", noexec, withCopy(folder));
        assertArrayEquals(new String[0], noexec.toFile().list());
    }

    @Test
    @Tag("java24")
    void accessThatIsDeniedIsTold() throws Exception {
        Result result = new ChildJvm().options("--illegal-native-access=deny").run(LibraryLoader.class);

        assertDenied("ALL-UNNAMED", result);
    }

    @Test
    @Tag("java24")
    void accessThatIsDeniedToTheModuleIsTold() throws Exception {
        Result result = onModulePath().options("--illegal-native-access=deny").run(LibraryLoader.class);

        assertDenied(MODULE, result);
    }

    @Test
    void theModuleNeedsAccessForItselfAlone() throws Exception {
        assertLoaded(onModulePath().grant(MODULE).run(LibraryLoader.class));
    }

    private static ChildJvm onModulePath() {
        return new ChildJvm().options("--module-path", System.getProperty("vornix.jar"), "--add-modules", MODULE);
    }

    private static void copyInto(Path folder) throws IOException {
        for (String file : new String[] {FILE, SESSION_FILE}) {
            Files.copy(FOLDER.resolve(file), folder.resolve(file));
        }
    }

    /** A class path with a copy of the libraries, of which the virtual machine finds no other. */
    private static String withCopy(Path folder) throws IOException {
        copyInto(Files.createDirectories(folder.resolve("natives/linux-other")));
        return folder + File.pathSeparator + System.getProperty("java.class.path");
    }

    private void assertNotUnpacked(String why, Path into, String classPath) throws Exception {
        Result result = child.options(OTHER_MACHINE, "-Djava.io.tmpdir=" + into)
                .run(classPath, LibraryLoader.class);

        Pattern told = Pattern.compile("^- jar, unpacked below java.io.tmpdir: .*" + why, Pattern.MULTILINE);
        assertTrue(told.matcher(result.out).find(), result::toString);
        assertTrue(result.out.contains(into.toString()), result::toString);
        assertEquals(1, result.status);
    }

    private static void assertLoaded(Result result) {
        assertEquals("result 0\n", result.out, result::toString);
        assertEquals("", result.err);
    }

    private static void assertDenied(String toWhom, Result result) {
        assertTrue(result.out.startsWith(FILE + " may not be loaded: Illegal native access from "), result::toString);
        assertTrue(result.out.endsWith(". Start Java with --enable-native-access=" + toWhom + "\n"), result::toString);
        assertTrue(result.err.contains("caused by java.lang.IllegalCallerException\n"), result::toString);
        assertEquals(1, result.status);
    }
}
