// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.ByteArrayOutputStream;
import java.io.PrintStream;

/** Runs examples in this process. */
public final class Examples {
    private Examples() {
    }

    public interface Example {
        void main(String[] arguments) throws Exception;
    }

    /** Returns what an example prints. */
    public static String output(Example example, String module, String reader, String... further) throws Exception {
        String[] arguments = new String[2 + further.length];
        arguments[0] = module;
        arguments[1] = reader;
        System.arraycopy(further, 0, arguments, 2, further.length);

        PrintStream before = System.out;
        ByteArrayOutputStream written = new ByteArrayOutputStream();
        System.setOut(new PrintStream(written, true, "UTF-8"));
        try {
            example.main(arguments);
        } finally {
            System.setOut(before);
        }
        return written.toString("UTF-8");
    }
}
