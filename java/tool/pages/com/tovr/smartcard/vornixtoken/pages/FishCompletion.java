// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.pages;

import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Model.OptionSpec;

import java.util.List;

/** Commands for fish's completion. */
final class FishCompletion {
    private final CommandSpec tool;
    private final StringBuilder script = new StringBuilder();

    FishCompletion(CommandSpec tool) {
        this.tool = tool;
    }

    String text(List<CommandSpec> commands) {
        complete("", "-f");
        options("-n __fish_use_subcommand", tool);
        for (CommandSpec each : commands) {
            complete("-n __fish_use_subcommand", "-a " + each.name() + " -d "
                    + quoted(Pages.sentence(each.usageMessage().description())));
            String seen = "-n '__fish_seen_subcommand_from " + each.name() + "'";
            options(seen, each);
            if (each.positionalParameters().stream().anyMatch(Pages::isFile)) {
                complete(seen, "-F");
            }
        }
        return script.toString();
    }

    private void options(String when, CommandSpec command) {
        for (OptionSpec option : command.options()) {
            StringBuilder words = new StringBuilder();
            for (String name : option.names()) {
                words.append(name.startsWith("--") ? "-l " + name.substring(2) : "-s " + name.substring(1)).append(' ');
            }
            if (option.arity().max() > 0) {
                words.append(Pages.isFile(option) ? "-r -F " : "-x ");
            }
            complete(when, words + "-d " + quoted(Pages.sentence(option.description())));
        }
    }

    private void complete(String when, String what) {
        script.append("complete -c ").append(tool.name()).append(' ').append(when).append(when.isEmpty() ? "" : " ")
                .append(what).append('\n');
    }

    private static String quoted(String text) {
        return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'";
    }
}
