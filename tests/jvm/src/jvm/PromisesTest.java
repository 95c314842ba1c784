// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import jvm.support.Documents;
import jvm.support.Result;
import jvm.support.ScriptedToken;
import jvm.support.Tool;

import org.junit.jupiter.api.Test;

import picocli.CommandLine;
import picocli.CommandLine.Model.ArgSpec;
import picocli.CommandLine.Model.OptionSpec;

import java.io.IOException;
import java.lang.reflect.Member;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.util.ArrayList;
import java.util.List;
import java.util.Set;
import java.util.TreeSet;
import java.util.jar.JarFile;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * What a released version has, each later one has too. The lists are of the first release; VORNIX_RECORD=1 writes what
 * there is now into them.
 */
class PromisesTest extends ScriptedToken {
    @Test
    void publicClassesAndMethodsStay() throws Exception {
        Set<String> members = new TreeSet<>();
        for (Class<?> each : classes()) {
            if (Modifier.isPublic(each.getModifiers())) {
                members.add(each.toGenericString());
                Stream.of(each.getDeclaredFields(), each.getDeclaredConstructors(), each.getDeclaredMethods())
                        .flatMap(Stream::<Member>of)
                        .filter(member -> Modifier.isPublic(member.getModifiers()) && !member.isSynthetic())
                        .forEach(member -> members.add(member.toString()));
            }
        }

        assertKept("api", members);
    }

    @Test
    void commandsAndOptionsStay() throws Exception {
        Set<String> words = new TreeSet<>();
        CommandLine tool = VornixTokenTool.commandLine();
        addArguments("vornixtoken-tool", tool, words);
        tool.getSubcommands().forEach((name, command) -> addArguments(name, command, words));

        assertKept("tool", words);
    }

    @Test
    void membersOfJsonStay() throws Exception {
        Set<String> members = new TreeSet<>();
        for (String command : List.of("create-request --id 01", "info", "list", "read-certificate --label alice", "sign /dev/null",
                "read-certificate --label nobody")) {
            List<String> words = new ArrayList<>(List.of(command.split(" ")));
            words.add("--json");
            addMembers(command, Tool.runOn(module, READER, words.get(0), words.subList(1, words.size()).toArray(new String[0])),
                    members);
        }
        addMembers("doctor", Tool.run("doctor", "--json", "-m", module), members);
        addMembers("readers", Tool.run("readers", "--json", "-m", module), members);

        assertKept("json", members);
    }

    private static void addMembers(String command, Result result, Set<String> members) {
        Documents.found("\"(\\w+)\":", result.out).forEach(member -> members.add(command + ": " + member));
    }

    private static List<Class<?>> classes() throws IOException, ClassNotFoundException {
        List<Class<?>> classes = new ArrayList<>();
        try (JarFile jar = new JarFile(System.getProperty("vornix.jar"))) {
            for (String name : jar.stream().map(entry -> entry.getName()).collect(Collectors.toList())) {
                if (name.startsWith("com/") && name.endsWith(".class")) {
                    classes.add(Class.forName(name.replaceAll("\\.class$", "").replace('/', '.'), false,
                            PromisesTest.class.getClassLoader()));
                }
            }
        }
        return classes;
    }

    private static void addArguments(String name, CommandLine command, Set<String> words) {
        words.add(name);
        for (ArgSpec argument : command.getCommandSpec().args()) {
            if (argument.isOption()) {
                for (String option : ((OptionSpec) argument).names()) {
                    words.add(name + " " + option);
                }
            } else {
                words.add(name + " " + argument.paramLabel());
            }
        }
    }

    private static void assertKept(String what, Set<String> now) throws IOException {
        String list = "tests/jvm/data/promised-1.0.0/" + what + ".txt";
        if (System.getenv("VORNIX_RECORD") != null) {
            Files.writeString(Documents.ROOT.resolve(list), String.join("\n", now) + "\n");
        }
        assertEquals(List.of(), Documents.text(list).lines().filter(line -> !now.contains(line)).collect(Collectors.toList()));
    }
}
