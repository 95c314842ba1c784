// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;

class DocumentationTest {
    private static final Path ROOT = Paths.get(System.getProperty("vornix.source"));
    private static final Pattern BLOCK = Pattern.compile("(?s)```java\n(.*?)```");
    private static final Pattern REGION = Pattern.compile(
            "(?s)// @start region=\"([a-z-]+)\"\n(.*?)\n *// @end region=\"\\1\"\n");

    @ParameterizedTest
    @ValueSource(strings = {"README.md", "java/README.md"})
    void everyJavaBlockIsQuotedFromAnExample(String name) throws IOException {
        List<String> quotable = new ArrayList<>();
        try (Stream<Path> examples = Files.list(ROOT.resolve("java/examples"))) {
            for (Path example : examples.collect(Collectors.toList())) {
                quotable.addAll(found(REGION, 2, example));
            }
        }
        List<String> blocks = found(BLOCK, 1, ROOT.resolve(name));

        assertFalse(blocks.isEmpty());
        for (String block : blocks) {
            assertTrue(quotable.contains(block), () -> "in no example:\n" + block);
        }
    }

    private static List<String> found(Pattern pattern, int group, Path file) throws IOException {
        List<String> texts = new ArrayList<>();
        Matcher matcher = pattern.matcher(new String(Files.readAllBytes(file), StandardCharsets.UTF_8));
        while (matcher.find()) {
            texts.add(withoutIndentation(matcher.group(group)));
        }
        return texts;
    }

    private static String withoutIndentation(String text) {
        int indentation = text.lines().filter(line -> !line.isBlank())
                .mapToInt(line -> line.length() - line.stripLeading().length()).min().orElse(0);
        return text.lines().map(line -> line.isBlank() ? "" : line.substring(indentation))
                .collect(Collectors.joining("\n"));
    }
}
