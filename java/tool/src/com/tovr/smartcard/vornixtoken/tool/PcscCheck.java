// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.PcscReader;

/** The PC/SC service and its readers. Modules without a card, the software token for instance, work without it. */
final class PcscCheck {
    private PcscCheck() {
    }

    static void run(PcscService service, Findings findings) {
        if (service.failure != null) {
            findings.warn(service.failure.message, service.failure.remedy);
        } else if (service.readers.isEmpty()) {
            findings.note("the service runs, and no reader is connected",
                    "connect the reader; if lsusb shows it, its driver is missing: libccid serves most");
        }
        for (PcscReader reader : service.readers) {
            String what = "reader '" + reader.getName() + "', " + PcscService.content(reader);
            if (reader.isCardMute()) {
                findings.warn(what, PcscFailure.TURN_THE_CARD);
            } else {
                findings.ok(what);
            }
        }
    }
}
