// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.security.GeneralSecurityException;
import java.util.Arrays;

/**
 * Shows the library at work. Ends with status 0 when all went as expected, with 1 at the first surprise, with 2 when it
 * cannot begin.
 */
public final class Demo {
    private static final String PIN = "VORNIX_USER_PIN";
    private static final String PUK = "VORNIX_SO_PIN";
    private static final String USAGE = "usage: java -Djava.library.path=<folder of the library> -jar token-demo.jar"
            + " life <PKCS #11 module> <reader> [<command>...]\n"
            + "       java -Djava.library.path=<folder of the library> -jar token-demo.jar reset <PC/SC reader>\n"
            + "\n"
            + "life   leads a token through its whole life. EVERYTHING ON IT IS LOST. " + PUK + " is its PUK, and\n"
            + "       " + PIN + " the PIN that it has once it is initialised. The command runs another one with a\n"
            + "       card in the reader \"" + ReaderReset.READER + "\"; without it no reader is reset.\n"
            + "reset  resets a reader while another application has the card in use.";

    private Demo() {
    }

    public static void main(String[] args) throws Exception {
        boolean life = args.length >= 3 && args[0].equals("life") && System.getenv(PUK) != null
                && System.getenv(PIN) != null;
        boolean reset = args.length == 2 && args[0].equals("reset");
        if (!life && !reset) {
            System.err.println(USAGE);
            System.exit(2);
        }
        System.loadLibrary("VornixToken_Javalib");
        Report report = new Report();
        try {
            if (life) {
                live(report, args);
            } else {
                ReaderReset.resetUnderAnApplication(report, args[1]);
            }
        } catch (Surprise surprise) {
            report.surprise(surprise);
            System.exit(1);
        }
    }

    private static void live(Report report, String[] args) throws IOException, GeneralSecurityException {
        byte[] puk = System.getenv(PUK).getBytes(StandardCharsets.UTF_8);
        byte[] pin = System.getenv(PIN).getBytes(StandardCharsets.UTF_8);
        try (OpenSsl openssl = new OpenSsl()) {
            new TokenLife(report, args[1], args[2], pin, openssl).live(puk);
        } finally {
            Arrays.fill(pin, (byte) 0);
            Arrays.fill(puk, (byte) 0);
        }
        new ReaderReset(report, Arrays.asList(args).subList(3, args.length)).run();
        report.end();
    }
}
