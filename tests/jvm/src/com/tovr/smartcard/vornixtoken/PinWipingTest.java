// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import org.junit.jupiter.api.Test;

import java.nio.ByteBuffer;

class PinWipingTest {
    private static final byte[] ZEROS = new byte[8];

    @Test
    void closingWipesIt() {
        Pin pin = Pin.of("12345678".toCharArray());
        byte[] held = pin.bytes();
        assertEquals('1', held[0]);

        pin.close();

        assertArrayEquals(ZEROS, held);
    }

    @Test
    void aRefusedJobLeavesNothingBehind() {
        byte[][] held = new byte[1][];

        assertThrows(Pkcs11Exception.class, () -> {
            try (Pin pin = Pin.of("12345678".toCharArray())) {
                held[0] = pin.bytes();
                new Token("./absent.so", "Reader 0").clean(pin);
            }
        });

        assertArrayEquals(ZEROS, held[0]);
    }

    @Test
    void encodingWipesItsBuffer() {
        ByteBuffer buffer = ByteBuffer.allocate(24);

        Pin pin = Pin.encoded("12345678".toCharArray(), buffer);

        assertEquals('8', pin.bytes()[7]);
        assertEquals(8, buffer.position());
        assertArrayEquals(new byte[24], buffer.array());
    }

    @Test
    void aJobsCopyIsItsOwnAndIsWiped() throws Exception {
        Pin pin = Pin.of("12345678".toCharArray());
        byte[][] lent = new byte[1][];

        byte result = pin.lend(copy -> {
            lent[0] = copy;
            pin.close();
            return copy[0];
        });

        assertEquals('1', result);
        assertArrayEquals(ZEROS, lent[0]);
        assertThrows(IllegalStateException.class, () -> pin.lend(copy -> 0));
    }

    @Test
    void aFailingJobsCopyIsWiped() {
        Pin pin = Pin.of("12345678".toCharArray());
        byte[][] lent = new byte[1][];

        assertThrows(ArithmeticException.class, () -> pin.lend(copy -> {
            lent[0] = copy;
            throw new ArithmeticException();
        }));

        assertArrayEquals(ZEROS, lent[0]);
        assertEquals('1', pin.bytes()[0]);
    }
}
