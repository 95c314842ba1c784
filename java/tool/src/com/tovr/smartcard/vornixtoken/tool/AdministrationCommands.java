// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenInfo;

import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;

import java.nio.file.Path;
import java.util.ArrayList;

/** The token as a whole. */
final class AdministrationCommands {
    private AdministrationCommands() {
    }

    @Command(name = "info", description = "Describes the token.",
            footer = "  vornixtoken-tool info --module ./libtovr_pkcs11_main.so --terminal 'Reader 0'")
    static final class Info extends ToolCommand.OnToken {
        @Override
        void run(Token token) throws Exception {
            TokenInfo info = token.readInfo();
            put("label", info.getLabel(), "label:         " + info.getLabel());
            put("manufacturer", info.getManufacturer(), "manufacturer:  " + info.getManufacturer());
            put("model", info.getModel(), "model:         " + info.getModel());
            put("serialNumber", info.getSerialNumber(), "serial number: " + info.getSerialNumber());
            put("flags", new ArrayList<>(info.getFlags()), "flags:         " + info.getFlags());
        }
    }

    @Command(name = "change-pin", description = "Changes the user PIN.",
            footer = "  vornixtoken-tool change-pin --pin-file old.txt --new-pin-file new.txt")
    static final class ChangePin extends ToolCommand.AsUser {
        @Option(names = "--new-pin-file", paramLabel = "FILE",
                description = "A file whose first line is the new PIN, - for standard input; else VORNIX_NEW_PIN, else you are asked.")
        private Path newPinFile;

        @Override
        void run(Token token, Pin pin) throws Exception {
            try (Pin chosen = PinSource.chosen("New PIN", "--new-pin-file", newPinFile, "VORNIX_NEW_PIN")) {
                token.changePin(pin, chosen);
            }
        }
    }

    /** With a module, a reader and the security officer's PIN. */
    private abstract static class AsSecurityOfficer extends ToolCommand.OnToken {
        @Option(names = "--puk-file", paramLabel = "FILE",
                description = "A file whose first line is the PUK, - for standard input; else VORNIX_SO_PIN, else you are asked.")
        private Path pukFile;

        @Override
        void run(Token token) throws Exception {
            try (Pin puk = PinSource.existing("PUK", "--puk-file", pukFile, "VORNIX_SO_PIN")) {
                run(token, puk);
            }
        }

        abstract void run(Token token, Pin puk) throws Exception;

        @Override
        String advice(TokenInfo info) {
            return PinState.ofPuk(info.getFlags()).adviceOnPuk();
        }
    }

    @Command(name = "change-puk", description = "Changes the PUK, the security officer's PIN.",
            footer = "  vornixtoken-tool change-puk --puk-file old.txt --new-puk-file new.txt")
    static final class ChangePuk extends AsSecurityOfficer {
        @Option(names = "--new-puk-file", paramLabel = "FILE",
                description = "A file whose first line is the new PUK, - for standard input; else VORNIX_NEW_PIN, else you are asked.")
        private Path newPukFile;

        @Override
        void run(Token token, Pin puk) throws Exception {
            try (Pin chosen = PinSource.chosen("New PUK", "--new-puk-file", newPukFile, "VORNIX_NEW_PIN")) {
                token.changePuk(puk, chosen);
            }
        }
    }

    @Command(name = "init",
            description = "Initialises the token under the label \"VORNIX Token\". All its objects are lost.",
            footer = "  vornixtoken-tool init --puk-file puk.txt --yes")
    static final class Initialize extends AsSecurityOfficer {
        @Mixin
        private Erasure erasure;

        @Override
        void run(Token token, Pin puk) throws Exception {
            token.initialize(puk);
        }
    }

    @Command(name = "clean", description = "Destroys all objects of the token; PINs and label stay.",
            footer = "  vornixtoken-tool clean --pin-file pin.txt --yes")
    static final class Clean extends ToolCommand.AsUser {
        @Mixin
        private Erasure erasure;

        @Override
        void run(Token token, Pin pin) throws Exception {
            showing("destroying all objects", () -> {
                token.clean(pin);
                return null;
            });
        }
    }

    @Command(name = "reset-terminal",
            description = "Powers the card in a reader down by the PC/SC service.",
            footer = "  vornixtoken-tool reset-terminal --terminal 'Reader 0'")
    static final class ResetTerminal extends ToolCommand {
        @Option(names = {"-t", "--terminal"}, required = true, paramLabel = "NAME",
                description = "The reader's full name; else VORNIX_TERMINAL.")
        private ReaderName terminal;

        @Override
        void run() throws Exception {
            Token.resetTerminal(terminal.toString());
        }

        @Override
        String advice(Pkcs11Exception refused) {
            if (!refused.getStep().startsWith("SCard")) {
                return null; // the service was not even asked
            }
            PcscFailure failure = PcscFailure.of(refused);
            return failure.message + ": " + failure.remedy;
        }
    }
}
