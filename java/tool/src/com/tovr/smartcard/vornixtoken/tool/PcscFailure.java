// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;

import java.io.IOException;
import java.nio.file.AccessDeniedException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.attribute.BasicFileAttributes;

/** Why the PC/SC service does not do what it is asked, in plain words, and what to do about that. */
final class PcscFailure {
    static final String TURN_THE_CARD =
            "turn the card round, or clean its contacts; one that is mute in another reader too is broken";
    private static final String RESTART = "\"systemctl restart pcscd.socket pcscd\"";

    final String message;
    final String remedy;

    private PcscFailure(String message, String remedy) {
        this.message = message;
        this.remedy = remedy;
    }

    static PcscFailure of(Pkcs11Exception refused) {
        PcscFailure failure = of(refused.getCodeName());
        return new PcscFailure(failure.message + " (" + refused.getCodeName() + ")", failure.remedy);
    }

    static PcscFailure silent(long seconds) {
        return new PcscFailure("the PC/SC service does not answer within " + seconds + " s",
                "a card or a reader may keep it busy: take out the card, then the reader; else " + RESTART);
    }

    static PcscFailure libraryMissing() {
        return new PcscFailure("the native library is missing", "see the findings on the libraries above");
    }

    private static PcscFailure of(String code) {
        switch (code) {
            case "SCARD_E_NO_SERVICE":
                return unreachable(socket());
            case "SCARD_E_NO_ACCESS":
            case "SCARD_W_SECURITY_VIOLATION":
                return new PcscFailure("you may not use the PC/SC service",
                        "have polkit allow org.debian.pcsc-lite.access_pcsc and access_card:"
                                + " /usr/share/doc/pcscd/README.polkit shows how");
            case "SCARD_E_UNKNOWN_READER":
            case "SCARD_E_READER_UNAVAILABLE":
                return new PcscFailure("the PC/SC service has no reader of this name",
                        "\"vornixtoken-tool readers\" shows the names of the PC/SC readers");
            case "SCARD_E_NO_SMARTCARD":
            case "SCARD_W_REMOVED_CARD":
                return new PcscFailure("there is no card in the reader", "put the card in");
            case "SCARD_W_UNRESPONSIVE_CARD":
            case "SCARD_W_UNPOWERED_CARD":
                return new PcscFailure("the card does not answer", TURN_THE_CARD);
            case "SCARD_E_SHARING_VIOLATION":
                return new PcscFailure("another program has the card for itself", "end that program");
            default:
                return new PcscFailure("the PC/SC service fails",
                        "see what it says: \"journalctl -u pcscd\"; " + RESTART + " may help");
        }
    }

    /** The service's clients have one code for all of this, so the socket itself is looked at. */
    private static PcscFailure unreachable(Path socket) {
        try {
            Files.readAttributes(socket, BasicFileAttributes.class);
        } catch (AccessDeniedException closed) {
            return forbidden(socket);
        } catch (IOException missing) {
            return new PcscFailure("no PC/SC service runs here, for there is no socket " + socket,
                    "for a reader that is connected: install pcscd, and start it by \"systemctl start pcscd.socket\";"
                            + " a container needs that socket mounted into it");
        }
        return Files.isWritable(socket) ? new PcscFailure("no PC/SC service answers at the socket " + socket,
                "start it anew by " + RESTART) : forbidden(socket);
    }

    private static PcscFailure forbidden(Path socket) {
        return new PcscFailure("you may not use the PC/SC service: the rights of its socket " + socket + " forbid it",
                "the service opens its socket to everybody, so somebody closed it: ask them, or have it made anew by "
                        + RESTART);
    }

    /** Where the service's clients look for it. */
    private static Path socket() {
        String named = System.getenv("PCSCLITE_CSOCK_NAME");
        return Paths.get(named != null ? named : "/run/pcscd/pcscd.comm");
    }
}
