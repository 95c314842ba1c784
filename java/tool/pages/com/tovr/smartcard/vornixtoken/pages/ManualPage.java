// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.pages;

import picocli.CommandLine.Help;
import picocli.CommandLine.Model.ArgSpec;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Model.OptionSpec;
import picocli.CommandLine.Model.PositionalParamSpec;
import picocli.CommandLine.Model.UsageMessageSpec;

import java.util.Arrays;
import java.util.List;
import java.util.Map;

/** A command's page in the macros of man. */
final class ManualPage {
    private final CommandSpec command;
    private final UsageMessageSpec usage;
    private final StringBuilder page = new StringBuilder();

    ManualPage(CommandSpec command) {
        this.command = command;
        usage = command.usageMessage();
    }

    /** The page, with the subcommands that have pages of their own. */
    String text(List<CommandSpec> subcommands) {
        String name = command.qualifiedName("-");
        line(".TH " + quoted(name.toUpperCase()) + " 1 \"\" " + quoted(command.root().version()[0]) + " \"User Commands\"");
        line(".SH NAME");
        line(escaped(name) + " \\- " + escaped(Pages.sentence(usage.description())));
        line(".SH SYNOPSIS");
        Help help = new Help(command, Help.defaultColorScheme(Help.Ansi.OFF));
        line(escaped(help.synopsis(0).trim().replaceAll("\\s+", " ")));
        line(".SH DESCRIPTION");
        Arrays.stream(usage.description()).forEach(this::paragraph);
        line(".SH OPTIONS");
        command.positionalParameters().forEach(this::positional);
        command.options().stream().filter(option -> !option.hidden()).forEach(this::option);
        if (!subcommands.isEmpty()) {
            line(".SH COMMANDS");
            subcommands.forEach(each -> entry("\\fB" + escaped(each.name()) + "\\fR",
                    Pages.sentence(each.usageMessage().description())));
        }
        if (!usage.exitCodeList().isEmpty()) {
            line(".SH EXIT STATUS");
            for (Map.Entry<String, String> status : usage.exitCodeList().entrySet()) {
                entry(escaped(status.getKey().trim()), status.getValue());
            }
        }
        footer();
        line(".SH SEE ALSO");
        line(subcommands.isEmpty() ? ".BR " + escaped(command.root().name()) + " (1)"
                : "Each command has a page of its own, \\fB" + escaped(name + "-" + subcommands.get(0).name())
                        + "\\fR(1) for instance.");
        return page.toString();
    }

    private void positional(PositionalParamSpec parameter) {
        entry("\\fI" + escaped(parameter.paramLabel()) + "\\fR", joined(parameter));
    }

    private void option(OptionSpec option) {
        StringBuilder names = new StringBuilder();
        for (String name : option.names()) {
            names.append(names.length() == 0 ? "" : ", ").append("\\fB").append(escaped(name)).append("\\fR");
        }
        if (option.arity().max() > 0) {
            names.append("=\\fI").append(escaped(option.paramLabel())).append("\\fR");
        }
        entry(names.toString(), joined(option));
    }

    private static String joined(ArgSpec argument) {
        return String.join(" ", argument.description());
    }

    /** The lines of examples are indented; the first line that is not ends them. */
    private void footer() {
        String[] lines = usage.footer();
        int examples = 0;
        while (examples < lines.length && lines[examples].startsWith("  ")) {
            examples++;
        }
        if (examples > 0) {
            line(".SH EXAMPLES");
            line(".nf");
            Arrays.stream(lines, 0, examples).forEach(each -> line(escaped(each.substring(2))));
            line(".fi");
        }
        String rest = String.join(" ", Arrays.asList(lines).subList(examples, lines.length)).trim();
        if (!rest.isEmpty()) {
            line(".SH NOTES");
            line(escaped(rest));
        }
    }

    private void paragraph(String text) {
        line(escaped(Pages.sentence(new String[] {text})));
    }

    private void entry(String head, String text) {
        line(".TP");
        line(head);
        line(escaped(text));
    }

    private void line(String text) {
        page.append(text).append('\n');
    }

    private static String quoted(String text) {
        return '"' + escaped(text) + '"';
    }

    private static String escaped(String text) {
        String escaped = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq");
        return escaped.startsWith(".") ? "\\&" + escaped : escaped;
    }
}
