// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;

/** Other people's tools. */
public final class Processes {
    private Processes() {
    }

    /** Runs a tool and returns what it prints; a failure is an exception with all of it. */
    public static String run(String... command) throws IOException, InterruptedException {
        Path output = Files.createTempFile("tool", ".out");
        try {
            int status = new ProcessBuilder(command).redirectErrorStream(true).redirectOutput(output.toFile()).start()
                    .waitFor();
            String text = new String(Files.readAllBytes(output), StandardCharsets.UTF_8);
            if (status != 0) {
                throw new IOException(command[0] + " ended with status " + status + ": " + text);
            }
            return text;
        } finally {
            Files.delete(output);
        }
    }
}
