// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.util.function.Consumer;

/** Takes what the doctor's checks find. */
final class Findings {
    private final Consumer<Finding> taker;
    private final String subject;

    Findings(Consumer<Finding> taker, String subject) {
        this.taker = taker;
        this.subject = subject;
    }

    void ok(String message) {
        add(Finding.Level.OK, message, null);
    }

    void note(String message, String remedy) {
        add(Finding.Level.NOTE, message, remedy);
    }

    void warn(String message, String remedy) {
        add(Finding.Level.WARNING, message, remedy);
    }

    void problem(String message, String remedy) {
        add(Finding.Level.PROBLEM, message, remedy);
    }

    void add(Finding.Level level, String message, String remedy) {
        taker.accept(new Finding(level, subject, message, remedy));
    }
}
