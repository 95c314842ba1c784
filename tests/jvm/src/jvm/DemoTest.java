package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import org.junit.jupiter.api.Test;

/** The demonstration on a token of SoftHSM2. */
class DemoTest {
    private static final String DEMO = System.getProperty("vornix.demo");

    @Test
    void itEndsWellOnAnEmptyTokenAndMayBeRepeated() throws Exception {
        String reader = SoftHsm.newToken();

        for (int i = 0; i < 2; i++) {
            ChildJvm.Result demo = demo(SoftHsm.PIN).launch("-jar", DEMO, SoftHsm.MODULE, reader);

            assertEquals(0, demo.status, demo::toString);
            assertTrue(demo.out.endsWith("All 9 steps went as expected.\n"), demo::toString);
            assertEquals("", demo.err);
            assertFalse(demo.out.contains(SoftHsm.PIN) || demo.out.contains(SoftHsm.SO_PIN), demo::toString);
        }
    }

    @Test
    void itEndsAtTheFirstSurprise() throws Exception {
        ChildJvm.Result demo = demo("another PIN").launch("-jar", DEMO, SoftHsm.MODULE, SoftHsm.newToken());

        assertEquals(1, demo.status, demo::toString);
        assertTrue(demo.out.endsWith("Login failed. Code: 160\n   result 160\n   surprise: the result should be 0\n"),
                demo::toString);
        assertFalse(demo.out.contains("another PIN"), demo::toString);
    }

    @Test
    void itTellsHowItIsUsed() throws Exception {
        ChildJvm.Result demo = new ChildJvm().launch("-jar", DEMO);

        assertEquals(2, demo.status, demo::toString);
        assertTrue(demo.err.startsWith("usage: "), demo::toString);
    }

    private static ChildJvm demo(String pin) {
        return new ChildJvm().environment("VORNIX_USER_PIN", pin).environment("VORNIX_SO_PIN", SoftHsm.SO_PIN);
    }
}
