// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * The command openssl, with its GOST engine if it has one, in a folder of its own that is removed at the end.
 */
final class OpenSsl implements AutoCloseable {
    private static final String CONFIGURATION = "openssl_conf = start\n"
            + "[start]\nengines = engines\n"
            + "[engines]\ngost = gost\n"
            + "[gost]\ndefault_algorithms = ALL\n"
            + "[req]\ndistinguished_name = subject\n"
            + "[subject]\n";

    private final Path folder = Files.createTempDirectory("token-demo");

    OpenSsl() throws IOException {
        write("openssl.cnf", CONFIGURATION.getBytes(StandardCharsets.US_ASCII));
    }

    boolean knowsGost() throws IOException {
        return outcome("engine", "gost").status == 0;
    }

    /** Runs openssl with files of the folder, and returns what it says. */
    String run(String... arguments) throws IOException {
        Outcome outcome = outcome(arguments);
        if (outcome.status != 0) {
            throw new Surprise("openssl " + String.join(" ", arguments) + " said:\n" + outcome.text);
        }
        return outcome.text;
    }

    /** Writes a file into the folder and returns its name. */
    String write(String name, byte[] content) throws IOException {
        Files.write(folder.resolve(name), content);
        return name;
    }

    byte[] read(String name) throws IOException {
        return Files.readAllBytes(folder.resolve(name));
    }

    @Override
    public void close() throws IOException {
        List<Path> files;
        try (Stream<Path> list = Files.list(folder)) {
            files = list.collect(Collectors.toList());
        }
        for (Path file : files) {
            Files.delete(file);
        }
        Files.delete(folder);
    }

    /** How openssl ends, whatever it finds. */
    Outcome outcome(String... arguments) throws IOException {
        List<String> command = new ArrayList<>(List.of("openssl"));
        command.addAll(List.of(arguments));
        ProcessBuilder builder = inFolder(command);
        builder.environment().put("OPENSSL_CONF", "openssl.cnf");
        return Outcome.of(builder.redirectErrorStream(true));
    }

    ProcessBuilder inFolder(List<String> command) {
        return new ProcessBuilder(command).directory(folder.toFile());
    }
}
