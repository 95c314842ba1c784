// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.PcscReader;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Collectors;

/** Which reader a name chooses: for the tool and the class Token, and for the native methods, which have another rule. */
final class TerminalCheck {
    private static final int NAME_WIDTH = 64;
    private static final int MANUFACTURER_WIDTH = 32;

    private final TriedModule tried;
    private final PcscService service;
    private final Findings findings;

    TerminalCheck(TriedModule tried, PcscService service, Findings findings) {
        this.tried = tried;
        this.service = service;
        this.findings = findings;
    }

    void run(String name) {
        if (tried.chosen == null) {
            findings.add(tried.module.isNamedByUser() ? Finding.Level.PROBLEM : Finding.Level.NOTE, tried.notChosen,
                    remedy(service.reader(name)));
        } else {
            findings.ok("it chooses reader " + tried.chosen + " of " + tried.module.file);
            if (!tried.chosen.tokenPresent) {
                findings.warn("there is no card in that reader", "put the card in");
            }
        }
        List<FoundReader> matching = tried.readers.stream().filter(reader -> matches(reader, name))
                .collect(Collectors.toList());
        if (matching.isEmpty()) {
            return;
        }
        FoundReader last = matching.get(matching.size() - 1);
        if (tried.chosen != null && !last.slot.equals(tried.chosen.slot)) {
            findings.warn("the native methods choose reader " + last + " instead, because their last match wins",
                    "give the whole name, and one that is no beginning of another reader's");
        }
        if (matching.size() > 1) {
            findings.note("for the native methods it matches " + matching.stream().map(FoundReader::toString)
                    .collect(Collectors.joining(", ")) + "; the last one wins", null);
        }
    }

    /** What to do when the module shows no reader of the name, but PC/SC perhaps does. */
    private static String remedy(PcscReader connected) {
        if (connected == null) {
            return "give the whole name of one of the module's readers";
        }
        return connected.isCardMute()
                ? "the reader is connected, but its card does not answer: " + PcscFailure.TURN_THE_CARD
                : "the reader is connected, but the module does not show it: it may be made for other readers or cards";
    }

    /** The native methods' rule: one is the beginning of the other, and the manufacturer's name counts too. */
    private static boolean matches(FoundReader reader, String name) {
        return matches(reader.manufacturer, MANUFACTURER_WIDTH, name) || matches(reader.name, NAME_WIDTH, name);
    }

    private static boolean matches(String field, int width, String name) {
        byte[] padded = new byte[width];
        Arrays.fill(padded, (byte) ' ');
        byte[] text = field.getBytes(StandardCharsets.UTF_8);
        System.arraycopy(text, 0, padded, 0, Math.min(text.length, width));
        byte[] wanted = name.getBytes(StandardCharsets.UTF_8);
        int i = 0;
        while (i < width && i < wanted.length && padded[i] == wanted[i]) {
            i++;
        }
        if (i == wanted.length) {
            return true;
        }
        while (i < width && padded[i] == ' ') {
            i++;
        }
        return i == width;
    }
}
