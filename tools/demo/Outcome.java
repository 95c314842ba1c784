// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.IOException;
import java.io.InterruptedIOException;
import java.nio.charset.StandardCharsets;

/** How another program ended and what it said. */
final class Outcome {
    final int status;
    final String text;

    private Outcome(int status, String text) {
        this.status = status;
        this.text = text;
    }

    static Outcome of(ProcessBuilder builder) throws IOException {
        Process process = builder.start();
        process.getOutputStream().close();
        String text = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
        try {
            return new Outcome(process.waitFor(), text);
        } catch (InterruptedException interrupted) {
            throw new InterruptedIOException();
        }
    }
}
