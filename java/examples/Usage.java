// SPDX-License-Identifier: Apache-2.0
package examples;

/** Tells how an example is run. */
public final class Usage {
    private static final int WRONG_USAGE = 2;

    private Usage() {
    }

    /** Ends the process unless every argument is there; one word names each. */
    public static void check(Class<?> example, String[] arguments, String words) {
        if (arguments.length < words.split(" ").length) {
            System.err.println("usage: java -cp CLASSES:JAR " + example.getName() + " " + words);
            System.exit(WRONG_USAGE);
        }
    }
}
