// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import picocli.CommandLine.Command;
import picocli.CommandLine.Option;

import java.util.ArrayList;
import java.util.List;
import java.util.Map;

/** Looks at all that a call needs, and says what is wrong and what to do. */
@Command(name = "doctor", description = {"Finds out why something does not work: Java, libraries, module, readers.",
        "Changes nothing on the token and needs no PIN. A module is tried in a process of its own, for 10 s at most."},
        footer = {"  vornixtoken-tool doctor", "  vornixtoken-tool doctor --module ./module.so --terminal 'Reader 0'"})
final class Doctor extends ToolCommand.OnModules {
    @Option(names = {"-t", "--terminal"}, paramLabel = "NAME",
            description = "A reader's name, to see which reader it chooses; else VORNIX_TERMINAL.")
    private ReaderName terminal;

    private final List<Map<String, Object>> findings = new ArrayList<>();
    private boolean healthy = true;

    @Override
    void run() throws Exception {
        JavaCheck.run(on("Java"), on("library"));
        PcscService service = PcscService.ask();
        KnownModules known = KnownModules.ofThisMachine();
        List<TriedModule> tried = tryModules(terminal == null ? null : terminal.toString());
        if (tried.isEmpty()) {
            on("module").problem("no PKCS #11 module is known; p11-kit and the usual folders name none: "
                    + String.join(", ", known.places()),
                    "install the module of the token's maker, or name its file by --module or VORNIX_MODULE");
        }
        for (TriedModule each : tried) {
            new ModuleCheck(each, service, on("module " + each.module.file)).run(known);
            if (terminal != null && each.reason == null) {
                new TerminalCheck(each, service, on("name '" + terminal + "'")).run(terminal.toString());
            }
        }
        PcscCheck.run(service, on("PC/SC"));
        put("ok", healthy);
        put("findings", findings);
    }

    @Override
    int status() {
        return healthy ? 0 : VornixTokenTool.REFUSED;
    }

    private Findings on(String subject) {
        return new Findings(this::take, subject);
    }

    private void take(Finding finding) {
        findings.add(finding.members());
        healthy &= finding.level != Finding.Level.PROBLEM;
        say(String.format("%-8s %s: %s", finding.level, finding.subject, finding.message));
        if (finding.remedy != null) {
            say("         -> " + finding.remedy);
        }
    }
}
