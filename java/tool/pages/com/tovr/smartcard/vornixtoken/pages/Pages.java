// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.pages;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import picocli.AutoComplete;
import picocli.CommandLine;
import picocli.CommandLine.Model.CommandSpec;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;

/** Writes what a shell's user expects of a command beside the command: manual pages, and completion for three shells. */
final class Pages {
    private final Path share;

    private Pages(Path share) {
        this.share = share;
    }

    /**
     * Writes all of it.
     *
     * @param arguments a folder, which becomes like /usr/share
     */
    public static void main(String[] arguments) throws IOException {
        new Pages(Paths.get(arguments[0])).write(VornixTokenTool.commandLine());
    }

    private void write(CommandLine tool) throws IOException {
        String name = tool.getCommandName();
        List<CommandSpec> commands = commandsOf(tool.getCommandSpec());
        write("man/man1/" + name + ".1", new ManualPage(tool.getCommandSpec()).text(commands));
        for (CommandSpec command : commands) {
            write("man/man1/" + name + "-" + command.name() + ".1", new ManualPage(command).text(new ArrayList<>()));
        }
        // The file is sourced, not run.
        write("bash-completion/completions/" + name, AutoComplete.bash(name, tool).replaceFirst("^#!.*\n", ""));
        write("zsh/vendor-completions/_" + name, new ZshCompletion(tool.getCommandSpec()).text(commands));
        write("fish/vendor_completions.d/" + name + ".fish", new FishCompletion(tool.getCommandSpec()).text(commands));
    }

    private static List<CommandSpec> commandsOf(CommandSpec tool) {
        List<CommandSpec> commands = new ArrayList<>();
        tool.subcommands().values().forEach(each -> commands.add(each.getCommandSpec()));
        return commands;
    }

    private void write(String name, String text) throws IOException {
        Path file = share.resolve(name);
        Files.createDirectories(file.getParent());
        Files.write(file, text.getBytes(StandardCharsets.UTF_8));
    }

    /** What a description says first. */
    static String sentence(String[] description) {
        return description.length == 0 ? "" : description[0].replace("%n", " ").replace("%%", "%");
    }

    /** Tells whether a value is a file's name. */
    static boolean isFile(CommandLine.Model.ArgSpec argument) {
        return argument.type() == Path.class || argument.paramLabel().equals("FILE");
    }
}
