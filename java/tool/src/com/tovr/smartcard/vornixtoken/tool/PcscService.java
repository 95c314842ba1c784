// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.PcscReader;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** What the PC/SC service says, if it says anything in time. */
final class PcscService {
    private static final long LIMIT_IN_MILLISECONDS = 10_000;

    final List<PcscReader> readers = new ArrayList<>();
    /** Why there is no list; null: there is one. */
    PcscFailure failure;

    /** A service without readers. */
    PcscService() {
    }

    /** Asks the service in a thread of its own, which is left alone if the service does not answer. */
    static PcscService ask() throws InterruptedException {
        PcscService[] answer = new PcscService[1];
        Thread thread = new Thread(() -> answer[0] = listed(), "pcsc");
        thread.setDaemon(true);
        thread.start();
        thread.join(LIMIT_IN_MILLISECONDS);
        if (!thread.isAlive()) {
            return answer[0];
        }
        PcscService silent = new PcscService();
        silent.failure = PcscFailure.silent(LIMIT_IN_MILLISECONDS / 1000);
        return silent;
    }

    private static PcscService listed() {
        PcscService service = new PcscService();
        try {
            service.readers.addAll(PcscReader.list());
        } catch (Pkcs11Exception refused) {
            service.failure = PcscFailure.of(refused);
        } catch (UnsatisfiedLinkError missing) {
            service.failure = PcscFailure.libraryMissing();
        }
        return service;
    }

    /** The reader of this name, as a module has it too; null: none. */
    PcscReader reader(String name) {
        return readers.stream().filter(each -> each.getName().equals(name)).findFirst().orElse(null);
    }

    /** What is in a reader, in words. */
    static String content(PcscReader reader) {
        return reader.isCardMute() ? "with a card that does not answer" : reader.isCardPresent() ? "with a card" : "empty";
    }

    Map<String, Object> members() {
        Map<String, Object> members = new LinkedHashMap<>();
        List<Map<String, Object>> all = new ArrayList<>();
        for (PcscReader reader : readers) {
            Map<String, Object> one = new LinkedHashMap<>();
            one.put("name", reader.getName());
            one.put("cardPresent", reader.isCardPresent());
            one.put("cardMute", reader.isCardMute());
            all.add(one);
        }
        members.put("readers", all);
        members.put("failure", failure == null ? null : failure.message);
        return members;
    }
}
