// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import static org.junit.jupiter.api.Assertions.assertEquals;

import org.junit.jupiter.api.Test;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;

/** Where the native methods choose another reader than the class Token does. */
class TerminalCheckTest {
    private String tokenPresent = "true";
    private final TriedModule tried = new TriedModule(new KnownModule("module.so"));
    private final List<String> found = new ArrayList<>();

    @Test
    void theLastMatchWinsForTheNativeMethods() {
        tried.chosen = reader("1", "Reader 1", "Works");
        reader("2", "Reader 10", "Works");
        reader("3", "Other", "Works");

        check("Reader 1");

        assertEquals(Arrays.asList(
                "ok: it chooses reader 'Reader 1' (slot 1) of module.so",
                "warning: the native methods choose reader 'Reader 10' (slot 2) instead, because their last match wins",
                "note: for the native methods it matches 'Reader 1' (slot 1), 'Reader 10' (slot 2); the last one wins"),
                found);
    }

    @Test
    void aNameThatGoesOnMatchesForTheNativeMethods() {
        tried.notChosen = "no such reader";
        reader("1", "Reader", "Works");
        reader("2", "Other", "");

        check("Reader 1");

        assertEquals(Arrays.asList("problem: no such reader",
                "note: for the native methods it matches 'Reader' (slot 1), 'Other' (slot 2); the last one wins"), found);
    }

    @Test
    void oneThatBothChooseIsGood() {
        tried.chosen = reader("1", "Reader 1", "Works");
        reader("2", "Reader 2", "Works");

        check("Reader 1");

        assertEquals(Collections.singletonList("ok: it chooses reader 'Reader 1' (slot 1) of module.so"), found);
    }

    @Test
    void anEmptyOneWantsItsCard() {
        tokenPresent = "false";
        tried.chosen = reader("1", "Reader 1", "Works");

        check("Reader 1");

        assertEquals(Arrays.asList("ok: it chooses reader 'Reader 1' (slot 1) of module.so",
                "warning: there is no card in that reader"), found);
    }

    private FoundReader reader(String slot, String name, String manufacturer) {
        FoundReader reader = new FoundReader(Arrays.asList(slot, name, manufacturer, tokenPresent, "", "", "", "").iterator());
        tried.readers.add(reader);
        return reader;
    }

    private void check(String name) {
        new TerminalCheck(tried, new PcscService(), new Findings(each -> found.add(each.level + ": " + each.message), "name")).run(name);
    }
}
