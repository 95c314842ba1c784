// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.PcscReader;

import picocli.CommandLine.Command;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** The readers of the modules, and beside them those of the PC/SC service. */
@Command(name = "readers", description = {"Lists the readers of a module, their tokens, and the PC/SC readers.",
        "Needs no PIN. A module is tried in a process of its own, for 10 s at most."},
        footer = {"  vornixtoken-tool readers", "  vornixtoken-tool readers --module ./libtovr_pkcs11_main.so --json"})
final class ListReaders extends ToolCommand.OnModules {
    private static final List<String> HEADING = Arrays.asList("SLOT", "READER", "TOKEN", "MODEL", "SERIAL NUMBER", "STATE");

    private boolean usable;

    @Override
    void run() throws Exception {
        List<Map<String, Object>> modules = new ArrayList<>();
        for (TriedModule tried : tryModules(null)) {
            modules.add(members(tried));
            print(tried);
            usable |= tried.reason == null;
        }
        if (modules.isEmpty()) {
            say("No PKCS #11 module was found; name one by --module or VORNIX_MODULE.");
        }
        put("ok", usable);
        put("modules", modules);
        PcscService service = PcscService.ask();
        put("pcsc", service.members());
        print(service);
    }

    @Override
    int status() {
        return usable ? 0 : VornixTokenTool.REFUSED;
    }

    private static Map<String, Object> members(TriedModule tried) {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("file", tried.module.file);
        members.put("namedBy", tried.module.sources);
        if (tried.reason == null) {
            List<Map<String, Object>> readers = new ArrayList<>();
            tried.readers.forEach(reader -> readers.add(reader.members()));
            members.put("vendorFunctions", tried.vendorFunctions);
            members.put("readers", readers);
        } else {
            members.put("reason", tried.reason);
            members.put("message", tried.failure);
        }
        if (tried.makesFolder()) {
            members.put("makesFolder", tried.softToken.toString());
        }
        return members;
    }

    private void print(TriedModule tried) {
        say("Module " + tried.module.file
                + (tried.module.isNamedByUser() ? "" : " (" + String.join("; ", tried.module.sources) + ")"));
        if (tried.makesFolder()) {
            say("Its first use will make the folder " + tried.softToken + ".");
        }
        if (tried.reason != null) {
            say("It cannot be used: " + tried.failure);
        } else if (tried.readers.isEmpty()) {
            say("It shows no reader.");
        } else {
            Table table = new Table();
            table.add(HEADING);
            tried.readers.forEach(reader -> table.add(reader.row()));
            table.print(this::say);
        }
        say("");
    }

    private void print(PcscService service) {
        say("PC/SC readers");
        if (service.failure != null) {
            say("None can be listed: " + service.failure.message);
        } else if (service.readers.isEmpty()) {
            say("None is connected.");
        }
        for (PcscReader reader : service.readers) {
            say(reader.getName() + ", " + PcscService.content(reader));
        }
    }
}
