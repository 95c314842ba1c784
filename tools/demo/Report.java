// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.FileDescriptor;
import java.io.FileOutputStream;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;

/** Tells a person, on standard output, what is done, what came of it and what was checked. */
final class Report {
    // As the library's own lines, whatever the locale says.
    private final PrintStream out = new PrintStream(new FileOutputStream(FileDescriptor.out), true,
            StandardCharsets.UTF_8);
    private int steps;
    private int leftOut;

    void introduce(String text) {
        out.println(text);
    }

    void begin(String title) {
        steps++;
        out.println();
        out.println(steps + ". " + title);
    }

    /** What a native method returned, which must be 0. */
    void expect(String method, long result) {
        expect(method, 0, result);
    }

    void expect(String method, long expected, long result) {
        out.println("   " + method + ": " + result);
        if (result != expected) {
            throw new Surprise(method + " should have returned " + expected);
        }
    }

    void show(String name, Object value) {
        out.println("   " + name + ": " + value);
    }

    void check(String what, boolean holds) {
        if (!holds) {
            throw new Surprise("not so: " + what);
        }
        checked(what);
    }

    /** What the result expected just before has shown. */
    void checked(String what) {
        out.println("   checked: " + what);
    }

    /** Lines of another program. */
    void quote(String text) {
        text.lines().forEach(out::println);
    }

    void leaveOut(String reason) {
        leftOut++;
        out.println("   LEFT OUT: " + reason);
    }

    void surprise(Surprise surprise) {
        out.println("   SURPRISE: " + surprise.getMessage());
    }

    void end() {
        out.println();
        out.println(steps - leftOut + " steps went as expected, " + leftOut + " left out.");
    }
}
