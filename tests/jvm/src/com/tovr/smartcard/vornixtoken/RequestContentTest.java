// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.support.Values;

import org.junit.jupiter.api.Test;

class RequestContentTest {
    @Test
    void aBuilderMayGoOn() {
        RequestContent.Builder builder = RequestContent.builder().subject("CN", "Alice");
        RequestContent first = builder.build();

        RequestContent second = builder.subject("C", "NO").build();

        assertArrayEquals(new String[] {"CN", "Alice"}, first.subject());
        assertArrayEquals(new String[] {"CN", "Alice", "C", "NO"}, second.subject());
    }

    @Test
    void itIsEqualToWhatWasCollectedLikewise() {
        Values.assertEqual(
                RequestContent.builder().subject("a", "b").attribute("c", "d").extension("e", true, "f").build(),
                RequestContent.builder().extension("e", "critical", "f").attribute("c", "d").subject("a", "b").build());
        Values.assertDistinct(
                RequestContent.builder().build(),
                RequestContent.builder().subject("a", "b").build(),
                RequestContent.builder().attribute("a", "b").build(),
                RequestContent.builder().extension("a", "b", "c").build(),
                RequestContent.builder().subject("a", "b").subject("c", "d").build(),
                RequestContent.builder().subject("c", "d").subject("a", "b").build());
    }

    /** An attribute may be a challenge password. */
    @Test
    void itTellsItsSubjectAlone() {
        assertEquals("request for [CN, Alice, C, NO]", RequestContent.builder().subject("CN", "Alice")
                .subject("C", "NO").attribute("challengePassword", "word").extension("a", "b", "c").build().toString());
    }
}
