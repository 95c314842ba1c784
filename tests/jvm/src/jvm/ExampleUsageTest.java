// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Processes;
import jvm.support.Result;
import jvm.support.ScriptedToken;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/** The examples and recipes as their first reader starts them. */
class ExampleUsageTest extends ScriptedToken {
    private static final Path JAVA = Paths.get(System.getProperty("vornix.source"), "java");
    private static final Path PLATFORM_JAR = Paths.get(System.getProperty("vornix.platform.jar"));
    private static final Pattern COMMAND = Pattern.compile("(?m)^(java -cp \\S+ examples\\.(?:.*\\\\\n)*.*)$");

    @ParameterizedTest
    @MethodSource("names")
    void withoutArgumentsAnExampleTellsThem(String name) throws Exception {
        Result result = new ChildJvm().run(Class.forName(name));

        assertTrue(result.err.matches("usage: java -cp CLASSES:JAR " + name + "( [A-Z]+)+\n"), result::toString);
        assertEquals("", result.out);
        assertEquals(2, result.status);
    }

    static List<String> names() throws IOException {
        List<String> names = new ArrayList<>();
        for (String folder : new String[] {"examples", "recipes"}) {
            try (Stream<Path> sources = Files.list(JAVA.resolve(folder))) {
                sources.map(source -> source.getFileName().toString())
                        .filter(name -> name.endsWith(".java") && !name.matches("(Usage|Der)\\.java"))
                        .map(name -> folder + "." + name.replace(".java", "")).sorted().forEach(names::add);
            }
        }
        return names;
    }

    @Test
    void theReadmesCommandRuns() throws Exception {
        String readme = new String(Files.readAllBytes(JAVA.resolve("README.md")), StandardCharsets.UTF_8);
        Matcher command = COMMAND.matcher(readme);
        assertTrue(command.find());
        String here = command.group(1)
                .replace("java -cp", Paths.get(System.getProperty("java.home"), "bin", "java") + " -cp")
                .replaceAll("vornixtoken-linux-\\w+\\.jar", PLATFORM_JAR.getFileName().toString())
                .replace("/usr/lib/libtovr_pkcs11_main.so", module)
                .replace("'Reader 0'", "'" + READER + "'");

        String output = Processes.run("sh", "-c", "cd '" + PLATFORM_JAR.getParent() + "' && " + here);

        assertTrue(output.contains("Scripted Token (Scripted Model, 0123456789abcdef)\n"), output);
    }
}
