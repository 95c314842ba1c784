// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;

/** What equality promises. */
public final class Values {
    private Values() {
    }

    public static void assertEqual(Object one, Object other) {
        assertEquals(one, other);
        assertEquals(one, one);
        assertEquals(one.hashCode(), other.hashCode());
    }

    /** No two of them are equal, and none is equal to anything else. Their hash codes differ too, as they should. */
    public static void assertDistinct(Object... values) {
        for (int i = 0; i < values.length; i++) {
            for (int j = 0; j < i; j++) {
                assertNotEquals(values[i], values[j]);
                assertNotEquals(values[i].hashCode(), values[j].hashCode(), values[i] + " and " + values[j]);
            }
            assertNotEquals(values[i], null);
            assertNotEquals(values[i], "something else");
        }
    }
}
