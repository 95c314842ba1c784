// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.regex.Pattern;
import java.util.stream.Collectors;

/**
 * What a document says that a shell says: in its blocks of the language "console", lines with "$ " before them are
 * commands, those with "> " go on with one, and all others are what the command prints. In these, … stands for any
 * text, and as a whole line for any lines. A command that fails is followed by "$ echo $?".
 */
public final class Dialogue {
    private static final String ASK_FOR_STATUS = "echo $?";

    private final List<String> document;
    private final List<Command> commands = new ArrayList<>();

    public Dialogue(String text) {
        document = Arrays.asList(text.split("\n", -1));
        boolean console = false;
        for (int i = 0; i < document.size(); i++) {
            String line = document.get(i);
            if (line.startsWith("```")) {
                console = line.equals("```console");
            } else if (console && line.startsWith("$ ")) {
                commands.add(new Command(i + 1, line.substring(2)));
            } else if (console && line.startsWith("> ")) {
                last().add(line.substring(2));
            } else if (console) {
                last().printed.add(line);
            }
        }
    }

    /** A command, and what the document says that it prints. */
    private static final class Command {
        final List<String> printed = new ArrayList<>();
        String text;
        /** The document's first line behind the command itself. */
        int end;

        Command(int end, String text) {
            this.text = text;
            this.end = end;
        }

        void add(String line) {
            text += "\n" + line;
            end++;
        }

        /** What it really prints; where the document agrees, in the document's words. */
        List<String> told(List<String> real) {
            String pattern = printed.stream().map(line -> line.equals("…") ? "(?:.*\n)*?" : pattern(line) + "\n")
                    .collect(Collectors.joining());
            if ((String.join("\n", real) + (real.isEmpty() ? "" : "\n")).matches(pattern)) {
                return printed;
            }
            return real.stream().map(this::asPrinted).collect(Collectors.toList());
        }

        /** A line with what varies in it left open, as far as the document had it so. */
        private String asPrinted(String line) {
            return printed.stream().filter(known -> known.length() > 1 && line.matches(pattern(known))).findFirst()
                    .orElse(line);
        }

        private static String pattern(String line) {
            return Arrays.stream(line.split("…", -1)).map(Pattern::quote).collect(Collectors.joining(".*"));
        }
    }

    public boolean isEmpty() {
        return commands.isEmpty();
    }

    /** Runs all commands in one shell, behind some of the caller's, and returns the document as it should be. */
    public String replayed(Path folder, String before) throws IOException, InterruptedException {
        StringBuilder script = new StringBuilder("exec </dev/null\n" + before + "\nstatus=0\n");
        for (int i = 0; i < commands.size(); i++) {
            String output = "'" + folder.resolve("output." + i) + "'";
            script.append("{ (exit $status); ").append(commands.get(i).text).append("\n} >").append(output)
                    .append(" 2>&1; status=$?; ");
            if (i + 1 == commands.size() || !commands.get(i + 1).text.equals(ASK_FOR_STATUS)) {
                script.append("[ $status = 0 ] || echo \"[status $status]\" >>").append(output);
            }
            script.append('\n');
        }
        Path file = Files.write(folder.resolve("script"), script.toString().getBytes(StandardCharsets.UTF_8));
        Processes.run("bash", file.toString());

        List<String> lines = new ArrayList<>();
        int next = 0;
        for (int i = 0; i < commands.size(); i++) {
            Command command = commands.get(i);
            lines.addAll(document.subList(next, command.end));
            lines.addAll(command.told(Files.readAllLines(folder.resolve("output." + i))));
            next = command.end + command.printed.size();
        }
        lines.addAll(document.subList(next, document.size()));
        return String.join("\n", lines);
    }

    private Command last() {
        return commands.get(commands.size() - 1);
    }
}
