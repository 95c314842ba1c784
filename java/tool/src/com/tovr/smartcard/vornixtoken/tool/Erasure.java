// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenInfo;

import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Spec;

import java.io.Console;
import java.io.IOException;

/** A mixin of commands by which all objects of a token are lost: it asks before they begin. */
final class Erasure {
    @Option(names = "--yes", description = "Do not ask whether all objects may be lost.")
    private boolean allowed;

    @Spec(Spec.Target.MIXEE)
    private CommandSpec command;

    void askFor(Token token, ReaderName terminal) throws Exception {
        if (allowed) {
            return;
        }
        Console console = Terminal.console();
        if (console == null) {
            throw new ParameterException(command.commandLine(),
                    "All objects would be lost, and there is no terminal to ask at: use --yes");
        }
        TokenInfo info = token.readInfo();
        console.printf("Reader '%s', token '%s', serial number %s. All objects will be lost.%n",
                Printable.text(terminal.toString()), Printable.text(info.getLabel()),
                Printable.text(info.getSerialNumber()));
        if (!"yes".equals(console.readLine("Type \"yes\" to go on: "))) {
            throw new IOException("not confirmed, nothing was done");
        }
    }
}
