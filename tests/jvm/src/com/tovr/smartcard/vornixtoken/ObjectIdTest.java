// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import jvm.support.Values;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

class ObjectIdTest {
    @ParameterizedTest
    @ValueSource(strings = {"00a1FF", "00:a1:ff", "00 A1 ff"})
    void itIsReadInHexadecimal(String text) {
        ObjectId id = ObjectId.parse(text);

        assertArrayEquals(new byte[] {0, (byte) 0xa1, (byte) 0xff}, id.getBytes());
        assertEquals("00a1ff", id.toString());
    }

    @ParameterizedTest
    @ValueSource(strings = {"0", "0g", "00a", "00:", ":00", "00::01", " 00"})
    void otherTextIsRefused(String text) {
        assertThrows(IllegalArgumentException.class, () -> ObjectId.parse(text));
    }

    @Test
    void itIsAValueThatNobodyChanges() {
        byte[] bytes = {1, 2};
        ObjectId id = ObjectId.of(bytes);
        bytes[0] = 9;
        id.getBytes()[1] = 9;

        Values.assertEqual(id, ObjectId.parse("0102"));
        Values.assertDistinct(id, ObjectId.of(), ObjectId.parse("01"), ObjectId.parse("0201"));
    }

    @Test
    void randomOnesDiffer() {
        assertEquals(16, ObjectId.random().getBytes().length);
        assertNotEquals(ObjectId.random(), ObjectId.random());
    }
}
