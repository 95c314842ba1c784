// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.Scripted;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** The demonstration on a software token of its own. */
@Tag("softtoken")
class DemoTest {
    private static final String DEMO = System.getProperty("vornix.demo");
    private static final String MODULE = System.getProperty("vornix.softtoken");
    private static final String READER = "Vornix Soft Reader 00 00";
    private static final String PIN = "12345678";
    private static final String PUK = "87654321";
    private static final String TELL_OF_A_RESET = "printf 'The card in \"Virtual PCD 00 00\" saw:\\n"
            + "  power on\\n  power off\\n'";

    @TempDir
    Path folder;

    @Test
    void itEndsWellAndMayBeRepeated() throws Exception {
        for (int i = 0; i < 2; i++) {
            Result demo = life(PIN, MODULE, READER, "sh", "-c", TELL_OF_A_RESET);

            assertEquals(0, demo.status, demo::toString);
            assertTrue(demo.out.endsWith("\n20 steps went as expected, 0 left out.\n"), demo::toString);
            assertEquals("", demo.err);
            assertFalse(demo.out.contains(PIN) || demo.out.contains(PUK), demo::toString);
        }
    }

    @Test
    void bouncyCastleJudgesGostWhereOpensslHasNoEngineForIt() throws Exception {
        Result demo = new ChildJvm().environment("OPENSSL_ENGINES", folder.toString())
                .environment("VORNIX_SOFTTOKEN_DIR", folder.resolve("token").toString())
                .environment("VORNIX_SO_PIN", PUK).options("-jar", DEMO).launch("life", MODULE, READER);

        assertEquals(0, demo.status, demo::toString);
        for (String told : new String[] {"\nopenssl has no GOST engine here: Bouncy Castle judges GOST.\n",
            "   checked: so does Bouncy Castle, and takes the content out\n"}) {
            assertTrue(demo.out.contains(told), demo::toString);
        }
        assertTrue(demo.out.endsWith("\n19 steps went as expected, 1 left out.\n"), demo::toString);
    }

    @Test
    void itSaysThatItCannotResetAReader() throws Exception {
        Result demo = life(PIN, MODULE, READER, "sh", "-c", "exit 77");

        assertEquals(0, demo.status, demo::toString);
        assertTrue(demo.out.contains("\n20. Reader reset\n   LEFT OUT: "), demo::toString);
        assertTrue(demo.out.endsWith("\n19 steps went as expected, 1 left out.\n"), demo::toString);
    }

    @Test
    void aResetThatTheCardDoesNotSeeIsASurprise() throws Exception {
        assertSurprise("not so: the card was powered down once, by the reset",
                life(PIN, MODULE, READER, "true"));
    }

    @Test
    void aResetThatFailsIsASurprise() throws Exception {
        assertSurprise("not so: the process of the reset ended well",
                life(PIN, MODULE, READER, "false"));
    }

    @Test
    void anUnexpectedResultIsASurprise() throws Exception {
        Result demo = life("another PIN", MODULE, READER);

        assertSurprise("listObjects should have returned 0", demo);
        assertTrue(demo.out.contains("\nLogin failed. Code: 160\n   listObjects: 160\n   SURPRISE: "), demo::toString);
        assertFalse(demo.out.contains("another PIN"), demo::toString);
    }

    @Test
    void whatOpensslCannotReadIsASurprise() throws Exception {
        Result demo = life(PIN, Scripted.MODULE, Scripted.READER);

        assertEquals(1, demo.status, demo::toString);
        assertTrue(demo.out.contains("\n   createCSR: 0\n"), demo::toString);
        assertTrue(demo.out.contains("\n   SURPRISE: openssl req "), demo::toString);
    }

    @Test
    void itTellsHowItIsUsed() throws Exception {
        for (String[] arguments : new String[][] {{}, {"life", MODULE}, {"reset"}, {"no such command", "x", "y"}}) {
            Result demo = new ChildJvm().options("-jar", DEMO).launch(arguments);

            assertEquals(2, demo.status, demo::toString);
            assertTrue(demo.err.startsWith("usage: "), demo::toString);
        }
    }

    @Test
    void itDoesNotBeginWithoutAPin() throws Exception {
        Result demo = new ChildJvm().without("VORNIX_USER_PIN").options("-jar", DEMO)
                .launch("life", MODULE, READER);

        assertEquals(2, demo.status, demo::toString);
    }

    private static void assertSurprise(String what, Result demo) {
        assertEquals(1, demo.status, demo::toString);
        assertTrue(demo.out.endsWith("   SURPRISE: " + what + "\n"), demo::toString);
    }

    /** Further arguments are the command that arranges for a reader. */
    private Result life(String pin, String module, String reader, String... further) throws Exception {
        List<String> arguments = new ArrayList<>(Arrays.asList("-jar", DEMO, "life", module, reader));
        arguments.addAll(Arrays.asList(further));
        return new ChildJvm().environment("VORNIX_SOFTTOKEN_DIR", folder.resolve("token").toString())
                .environment("VORNIX_USER_PIN", pin).environment("VORNIX_SO_PIN", PUK)
                .launch(arguments.toArray(new String[0]));
    }
}
