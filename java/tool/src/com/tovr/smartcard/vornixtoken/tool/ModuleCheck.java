// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.PcscReader;

import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.List;

/** A module: whether it works, and what it shows. */
final class ModuleCheck {
    private static final String FAULT = "it is the module's fault: update it, or ask its maker";
    private static final String UNKNOWN_CARD = "CKR_TOKEN_NOT_RECOGNIZED";

    private final TriedModule tried;
    private final PcscService service;
    private final Findings findings;

    ModuleCheck(TriedModule tried, PcscService service, Findings findings) {
        this.tried = tried;
        this.service = service;
        this.findings = findings;
    }

    void run(KnownModules known) {
        if (tried.makesFolder()) {
            findings.note("its first use will make the folder " + tried.softToken + "; it was tried with another one", null);
        }
        if (tried.reason != null) {
            // Of the modules that were found somewhere, many have nothing to do with the user's token.
            boolean harmful = tried.reason.equals(TriedModule.CRASHED) || tried.reason.equals(TriedModule.HUNG);
            findings.add(tried.module.isNamedByUser() || harmful ? Finding.Level.PROBLEM : Finding.Level.WARNING,
                    failure(), remedy());
            return;
        }
        if (tried.vendorFunctions) {
            findings.ok("it works, and has the vendor functions");
        } else {
            findings.note("it works, but lacks the vendor functions: importing, signing, verifying and requesting"
                    + " certificates are not possible with it", "use the module of the token's maker for these");
        }
        readers();
        List<Path> entries = known.entriesFor(tried.module.file);
        for (Path entry : entries) {
            findings.note("p11-kit loads it too, by " + entry, null);
        }
    }

    private void readers() {
        if (tried.readers.isEmpty()) {
            findings.warn("it shows no reader", service.failure == null && service.readers.isEmpty() ? "connect the reader"
                    : "see PC/SC below: a reader that stands there without any finding is not one of this module's");
        }
        for (FoundReader reader : tried.readers) {
            String what = "reader " + reader + (reader.isReadable() && !reader.isBlank()
                    ? " with token '" + reader.label + "' (" + reader.model + ", " + reader.serialNumber + "): "
                    : ": ") + reader.state();
            if (!reader.tokenPresent) {
                findings.note(what, null);
            } else if (!reader.isReadable()) {
                findings.warn(what, reader.tokenCodeName.equals(UNKNOWN_CARD)
                        ? "the module does not know this card: take the module of the card's maker"
                        : "take the card out and put it in again; it may be no card of this module's");
            } else if (reader.isBlank()) {
                findings.note(what, "\"vornixtoken-tool init\" initialises it");
            } else {
                pin(reader, what);
            }
        }
    }

    private void pin(FoundReader reader, String what) {
        String onPin = reader.pinState().adviceOnPin();
        String onPuk = reader.pukState().adviceOnPuk();
        if (onPin == null && onPuk == null) {
            findings.ok(what);
        } else {
            findings.warn(what, onPin == null ? "PUK " + onPuk : onPuk == null ? "PIN " + onPin
                    : "PIN " + onPin + "; PUK " + onPuk);
        }
    }

    private String failure() {
        Path file = Paths.get(tried.module.file);
        if (tried.reason.equals("NOT_A_MODULE") && Files.isDirectory(file)) {
            return "it is a folder";
        }
        return isForAnotherMachine() ? "it is for " + ElfHeader.of(file).machine() + ", and this Java is for "
                + ElfHeader.ofThisProcess().machine() : tried.failure;
    }

    private String remedy() {
        switch (tried.reason) {
            case "NO_MODULE":
                return "check the path; \"vornixtoken-tool readers\" without --module shows the modules of this machine";
            case "NOT_A_MODULE":
                return "name the PKCS #11 module of the token's maker, commonly a file *pkcs11*.so";
            case "NO_LIBRARY":
                return "see the findings on the libraries above";
            case TriedModule.HUNG:
                if (service.readers.stream().anyMatch(PcscReader::isCardMute)) {
                    return "a card does not answer, which may keep the module waiting: " + PcscFailure.TURN_THE_CARD;
                }
                return FAULT;
            case TriedModule.CRASHED:
                return FAULT;
            default:
                return remedyOfFailure();
        }
    }

    private String remedyOfFailure() {
        if (isForAnotherMachine()) {
            return "install the module for " + ElfHeader.ofThisProcess().machine() + ", or use a Java for the module's machine";
        }
        if (tried.step.equals("dlopen")) {
            return "install what the loader misses; \"ldd " + tried.module.file + "\" shows all that the module needs";
        }
        return "see the module's documentation: its configuration or its service may be missing, or its folder not yours";
    }

    private boolean isForAnotherMachine() {
        ElfHeader header = ElfHeader.of(Paths.get(tried.module.file));
        ElfHeader own = ElfHeader.ofThisProcess();
        return header != null && own != null && !header.machine().equals(own.machine());
    }
}
