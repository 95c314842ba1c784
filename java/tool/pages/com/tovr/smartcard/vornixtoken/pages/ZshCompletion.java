// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.pages;

import picocli.CommandLine.Model.ArgSpec;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Model.OptionSpec;
import picocli.CommandLine.Model.PositionalParamSpec;

import java.util.List;

/** A function for zsh's completion system. */
final class ZshCompletion {
    private final CommandSpec tool;
    private final StringBuilder script = new StringBuilder();

    ZshCompletion(CommandSpec tool) {
        this.tool = tool;
    }

    String text(List<CommandSpec> commands) {
        line("#compdef " + tool.name());
        line("local curcontext=\"$curcontext\" state line");
        line("local -a commands=(");
        commands.forEach(each -> line("  " + quoted(each.name() + ":" + sentence(each))));
        line(")");
        arguments("", tool, "'1:command:->command' '*:: :->arguments'");
        line("case $state in");
        line("command) _describe command commands ;;");
        line("arguments)");
        line("  case $line[1] in");
        for (CommandSpec each : commands) {
            line("  " + each.name() + ")");
            arguments("    ", each, "");
            line("    ;;");
        }
        line("  esac");
        line("  ;;");
        line("esac");
        return script.toString();
    }

    private void arguments(String indent, CommandSpec command, String more) {
        script.append(indent).append("_arguments -C -s");
        for (OptionSpec option : command.options()) {
            String names = String.join(" ", option.names());
            for (String name : option.names()) {
                boolean value = option.arity().max() > 0;
                String behind = !value ? "" : name.startsWith("--") ? "=" : "+";
                script.append(" \\\n").append(indent).append("  ").append(quoted("(" + names + ")" + name + behind
                        + "[" + bracketed(Pages.sentence(option.description())) + "]" + (value ? value(option) : "")));
            }
        }
        for (PositionalParamSpec parameter : command.positionalParameters()) {
            script.append(" \\\n").append(indent).append("  ")
                    .append(quoted((parameter.index().max() + 1) + value(parameter)));
        }
        line(more.isEmpty() ? "" : " \\\n" + indent + "  " + more);
    }

    private static String value(ArgSpec argument) {
        return ":" + argument.paramLabel().replace(":", "\\:") + ":" + (Pages.isFile(argument) ? "_files" : "");
    }

    private static String sentence(CommandSpec command) {
        return Pages.sentence(command.usageMessage().description());
    }

    private static String bracketed(String text) {
        return text.replace("\\", "\\\\").replace("[", "\\[").replace("]", "\\]").replace(":", "\\:");
    }

    private static String quoted(String text) {
        return "'" + text.replace("'", "'\\''") + "'";
    }

    private void line(String text) {
        script.append(text).append('\n');
    }
}
