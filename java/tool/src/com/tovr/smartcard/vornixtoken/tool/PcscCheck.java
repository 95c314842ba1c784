// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.PcscReader;

/** The PC/SC service and its readers. Modules without a card, the software token for instance, work without it. */
final class PcscCheck {
    private PcscCheck() {
    }

    static void run(Findings findings) throws InterruptedException {
        PcscService service = PcscService.ask();
        if (service.failure != null) {
            findings.warn(service.failure, remedy(service.codeName));
        } else if (service.readers.isEmpty()) {
            findings.note("the service runs, and no reader is connected",
                    "connect the reader; if lsusb shows it, its driver is missing: libccid serves most");
        }
        for (PcscReader reader : service.readers) {
            if (reader.isCardMute()) {
                findings.warn("reader '" + reader.getName() + "' has a card that does not answer",
                        "turn the card round, or clean it; \"vornixtoken-tool reset-terminal\" powers it down");
            } else {
                findings.ok("reader '" + reader.getName() + "', " + (reader.isCardPresent() ? "with a card" : "empty"));
            }
        }
    }

    private static String remedy(String codeName) {
        switch (codeName) {
            case "SCARD_E_NO_SERVICE":
                return "for a reader that is connected: install pcscd, and start it by \"systemctl start pcscd.socket\"";
            case "SCARD_E_NO_ACCESS":
            case "SCARD_W_SECURITY_VIOLATION":
                return "you may not use the service: ask for a rule of polkit for org.debian.pcsc-lite.access_pcsc";
            default:
                return "see what the service says: \"journalctl -u pcscd\"; starting it anew may help";
        }
    }
}
