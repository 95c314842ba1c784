// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.io.Reader;
import java.nio.charset.StandardCharsets;

/** A shell command at a terminal of its own, which the program `script` makes. */
public final class Terminal {
    private static final String PROMPT_END = ": ";

    private final ProcessBuilder builder = new ProcessBuilder().redirectErrorStream(true);

    public Terminal environment(String name, String value) {
        builder.environment().put(name, value);
        return this;
    }

    public Terminal without(String name) {
        builder.environment().remove(name);
        return this;
    }

    /** Runs the command-line tool on a token and types lines. The text returned ends with the tool's status. */
    public String toolOn(String module, String reader, String command, String... typed)
            throws IOException, InterruptedException {
        return environment("JAVA_HOME", System.getProperty("java.home"))
                .environment("VORNIX_MODULE", module).environment("VORNIX_TERMINAL", reader)
                .run("'" + Tool.LAUNCHER + "' " + command + "; echo status $?", typed);
    }

    /** Runs the command, types a line at each prompt, and returns all that the terminal shows. */
    public String run(String command, String... typed) throws IOException, InterruptedException {
        Process script = builder.command("env", "script", "--quiet", "--command", command, "/dev/null").start();
        StringBuilder shown = new StringBuilder();
        try (Reader screen = new InputStreamReader(script.getInputStream(), StandardCharsets.UTF_8)) {
            OutputStream keyboard = script.getOutputStream();
            for (String line : typed) {
                if (showUntilPrompt(screen, shown)) {
                    type(line, keyboard);
                }
            }
            while (show(screen, shown)) {
                // to the end
            }
        }
        // Without --return its status tells of itself, not of the command.
        int status = script.waitFor();
        if (status != 0) {
            throw new AssertionError("no terminal from the program script, which needs /dev/ptmx and /dev/pts (status "
                    + status + "): " + shown);
        }
        return shown.toString();
    }

    private static void type(String line, OutputStream keyboard) {
        try {
            keyboard.write((line + "\n").getBytes(StandardCharsets.UTF_8));
            keyboard.flush();
        } catch (IOException ended) {
            // What it has shown, or its status, tells why.
        }
    }

    private static boolean showUntilPrompt(Reader screen, StringBuilder shown) throws IOException {
        int before = shown.length();
        while (shown.indexOf(PROMPT_END, before) < 0) {
            if (!show(screen, shown)) {
                return false;
            }
        }
        return true;
    }

    private static boolean show(Reader screen, StringBuilder shown) throws IOException {
        int character = screen.read();
        if (character >= 0) {
            shown.append((char) character);
        }
        return character >= 0;
    }
}
