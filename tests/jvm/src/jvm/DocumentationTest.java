// SPDX-License-Identifier: Apache-2.0
package jvm;

import static java.util.Collections.indexOfSubList;
import static jvm.support.Documents.found;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.ReturnCodes;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.Documents;
import jvm.support.Documents.Block;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

import java.io.IOException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.TreeSet;
import java.util.stream.Collectors;

/** Documents say what is so: their links lead somewhere, and what they quote stands in the sources. */
class DocumentationTest {
    private static final String DIAGNOSTICS = "docs/diagnostics.md";
    /** What stands in a line of the library in place of a value. */
    private static final String VALUE = "\\b(?:PATH|REASON|NAME|[NHK])\\b";

    static List<String> documents() throws IOException {
        return Documents.all();
    }

    @ParameterizedTest
    @MethodSource("documents")
    void linksLeadSomewhere(String name) throws IOException {
        for (String link : found("\\]\\(([^)\\s]+)\\)", Documents.prose(Documents.text(name)))) {
            if (link.startsWith("http")) {
                continue;
            }
            String[] parts = link.split("#", 2);
            Path target = parts[0].isEmpty() ? Documents.ROOT.resolve(name)
                    : Documents.ROOT.resolve(name).resolveSibling(parts[0]).normalize();
            assertTrue(Files.exists(target), link);
            assertTrue(parts.length == 1 || anchors(target).contains(parts[1]), link);
        }
    }

    @ParameterizedTest
    @MethodSource("documents")
    void namedFilesAreThere(String name) throws IOException {
        String folders = "bench|cmake|docs|java|jni|p11|packaging|scripts|session|softtoken|tests|tools";
        for (String file : found("`((?:" + folders + ")/[\\w./-]*)`", Documents.text(name))) {
            assertTrue(Files.exists(Documents.ROOT.resolve(file)), file);
        }
    }

    @ParameterizedTest
    @MethodSource("documents")
    void codeIsQuotedFromTestedFiles(String name) throws IOException {
        for (Block block : Documents.blocks(Documents.text(name))) {
            if (Arrays.asList("java", "cpp", "cmake", "xml").contains(block.language)) {
                assertTrue(isQuoted(block.text, tested(block.language)), () -> "in no tested file:\n" + block.text);
            }
        }
    }

    @Test
    void examplesOfClassesAndPackagesAreQuotedFromTestedFiles() throws IOException {
        int examples = 0;
        for (String source : Documents.files("java/src", ".java")) {
            for (String example : found("(?s)<pre>(.*?)</pre>", Documents.text(source))) {
                String text = example.replaceAll("(?m)^ *\\* ?", "").trim().replaceAll("(?s)^\\{@code\\s(.*)}$", "$1").trim()
                        .replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&");
                assertTrue(isQuoted(text, tested("java")), () -> source + ":\n" + text);
                examples++;
            }
        }
        assertTrue(examples >= 10, examples + " examples");
    }

    @Test
    void thePictureInTheReadmeIsTakenOnTheTour() throws IOException {
        List<String> tour = lines(Documents.text("docs/tour/README.md"));
        List<Block> pictures = Documents.blocks(Documents.text("README.md")).stream()
                .filter(block -> block.language.equals("text")).collect(Collectors.toList());

        assertEquals(1, pictures.size());
        for (String part : pictures.get(0).text.split("(?m)^…\n")) {
            assertTrue(indexOfSubList(tour, lines(part)) >= 0, part);
        }
    }

    @Test
    void quotedLinesAreTheLibrarys() throws IOException {
        Set<String> literals = new HashSet<>();
        for (String folder : Arrays.asList("p11", "jni")) {
            for (String source : Documents.files(folder, "")) {
                literals.addAll(found("\"((?:[^\"\\\\\n]|\\\\.)*)\"", Documents.text(source)));
            }
        }
        List<String> quoted = quotedLines();

        assertFalse(quoted.isEmpty());
        for (String line : quoted) {
            for (String part : line.replaceAll("\\. Code: N$", "").split(VALUE)) {
                assertTrue(literals.stream().anyMatch(literal -> literal.contains(part)), line);
            }
        }
    }

    @Test
    void everyLineOfTheLibraryIsExplained() throws IOException {
        String explained = String.join("\n", quotedLines());
        for (String folder : Arrays.asList("p11", "jni")) {
            for (String source : Documents.files(folder, "")) {
                for (String line : found("diagnose\\([\\w.]+, \"([^\"]+?)(?:\\. Code: |: )?\"", Documents.text(source))) {
                    assertTrue(explained.contains(line), line);
                }
            }
        }
    }

    @Test
    void codesHaveTheirNames() throws Exception {
        List<String> rows = found("(?m)^\\| (\\d+ \\| 0x\\w+ \\| `CKR_\\w+`)", Documents.text(DIAGNOSTICS));

        assertFalse(rows.isEmpty());
        for (String row : rows) {
            String name = found("`(.*)`", row).get(0);
            long code = ReturnCodes.class.getField(name).getLong(null);
            assertEquals(String.format("%d | 0x%X | `%s`", code, code, name), row);
        }
    }

    @Test
    void everyReasonHasARemedy() throws IOException {
        List<String> reasons = Arrays.stream(Reason.values()).map(Reason::name).collect(Collectors.toList());
        String table = Documents.text(DIAGNOSTICS).split("\n\\| Reason \\|")[1];

        assertEquals(reasons, found("(?m)^\\| `([A-Z_]+)` \\| [^|]+ \\| [^|]+ \\|$", table));
    }

    @Test
    void theTableOfNativesNamesEachWithItsParameters() throws IOException {
        Set<String> declared = new TreeSet<>();
        for (Method method : Pkcs11Wrapper.class.getDeclaredMethods()) {
            if (Modifier.isNative(method.getModifiers())) {
                declared.add(method.getName() + " " + method.getParameterCount());
            }
        }
        Set<String> named = new TreeSet<>();
        for (String row : found("(?m)^\\| (`[a-z]\\w+` \\|[^|]*)\\|", Documents.text("docs/natives.md"))) {
            List<String> words = found("`(\\w+)`", row);
            int common = row.contains("only") ? 0 : 2;
            named.add(words.get(0) + " " + (words.size() - 1 + common));
        }

        assertEquals(declared, named);
    }

    private static List<String> quotedLines() throws IOException {
        String table = Documents.text(DIAGNOSTICS).split("\n\\| Line \\|")[1].split("\n\n")[0];
        List<String> quoted = new ArrayList<>();
        for (String row : lines(table)) {
            quoted.addAll(found("`([^`]+)`", row.split("\\|")[row.startsWith("| ") ? 1 : 0]));
        }
        return quoted;
    }

    /** The places of a document that a link can name: its headings, as the usual programs name them. */
    private static List<String> anchors(Path file) throws IOException {
        String text = Documents.text(Documents.ROOT.relativize(file).toString());
        return found("(?m)^#+ (.*)$", text.replaceAll("(?ms)^```.*?^```$", "")).stream()
                .map(heading -> heading.toLowerCase().replaceAll("[^\\w\\s-]", "").replaceAll("\\s+", "-"))
                .collect(Collectors.toList());
    }

    private static List<String> tested(String language) throws IOException {
        switch (language) {
            case "java":
                List<String> programs = new ArrayList<>(Documents.files("java/examples", ".java"));
                programs.addAll(Documents.files("java/recipes", ".java"));
                return programs;
            case "cpp":
                return Documents.files("tests/packaging", ".cpp");
            case "cmake":
                return Documents.files("tests/packaging/program", "CMakeLists.txt");
            default:
                return Documents.files("tests/packaging/maven_project", "pom.xml.in");
        }
    }

    /** Tells whether the lines follow one another in a file, all with the same indentation beyond their own. */
    private static boolean isQuoted(String text, List<String> files) throws IOException {
        List<String> lines = lines(text);
        String first = lines.get(0);
        for (String file : files) {
            List<String> source = lines(configured(Documents.text(file)));
            for (int i = 0; i + lines.size() <= source.size(); i++) {
                if (source.get(i).endsWith(first)) {
                    String indentation = source.get(i).substring(0, source.get(i).length() - first.length());
                    List<String> indented = lines.stream().map(line -> line.isEmpty() ? line : indentation + line)
                            .collect(Collectors.toList());
                    if (indentation.trim().isEmpty() && source.subList(i, i + lines.size()).equals(indented)) {
                        return true;
                    }
                }
            }
        }
        return false;
    }

    /** With the values that the build puts in. */
    private static String configured(String text) throws IOException {
        String version = found("(?m)^project\\(VornixToken VERSION (\\S+)", Documents.text("CMakeLists.txt")).get(0);
        return text.replace("@VERSION@", version).replace("@PLATFORM@", "linux-x86_64");
    }

    private static List<String> lines(String text) {
        return Arrays.asList(text.split("\n"));
    }
}
