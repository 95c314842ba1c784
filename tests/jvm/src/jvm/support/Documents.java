// SPDX-License-Identifier: Apache-2.0
package jvm.support;

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

/** The project's documents, which are its Markdown files, and its sources. */
public final class Documents {
    public static final Path ROOT = Paths.get(System.getProperty("vornix.source"));
    private static final Pattern BLOCK = Pattern.compile("(?ms)^```([a-z]+)\n(.*?)^```$");

    private Documents() {
    }

    /** A piece of a document between two lines of three backticks. */
    public static final class Block {
        public final String language;
        public final String text;

        Block(String language, String text) {
            this.language = language;
            this.text = text;
        }
    }

    /** Names the documents, as ways from the project's folder. */
    public static List<String> all() throws IOException {
        return files("", ".md");
    }

    /** Names the files of a folder and those below it that end so. What a build makes is left out. */
    public static List<String> files(String folder, String ending) throws IOException {
        try (Stream<Path> files = Files.walk(ROOT.resolve(folder))) {
            return files.filter(Files::isRegularFile).map(file -> ROOT.relativize(file).toString())
                    .filter(name -> name.endsWith(ending) && !name.startsWith("build/") && !name.startsWith("."))
                    .sorted().collect(Collectors.toList());
        }
    }

    public static String text(String name) throws IOException {
        return new String(Files.readAllBytes(ROOT.resolve(name)), StandardCharsets.UTF_8);
    }

    public static List<Block> blocks(String text) {
        List<Block> blocks = new ArrayList<>();
        Matcher matcher = BLOCK.matcher(text);
        while (matcher.find()) {
            blocks.add(new Block(matcher.group(1), matcher.group(2)));
        }
        return blocks;
    }

    /** A document's prose: the text without its blocks, fenced or indented. */
    public static String prose(String text) {
        return text.replaceAll("(?ms)^```.*?^```$", "").replaceAll("(?m)^    .*$", "");
    }

    /** Every first group that a pattern finds. */
    public static List<String> found(String pattern, String text) {
        List<String> found = new ArrayList<>();
        Matcher matcher = Pattern.compile(pattern).matcher(text);
        while (matcher.find()) {
            found.add(matcher.group(1));
        }
        return found;
    }
}
