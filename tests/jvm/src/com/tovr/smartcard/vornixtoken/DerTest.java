// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;

import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.math.BigInteger;
import java.util.Arrays;

class DerTest {
    @ParameterizedTest
    @ValueSource(strings = {"3000", "3003020100", "308103020100", "30820003020100"})
    void zerosBehindASequenceAreCutOff(String hexadecimal) {
        byte[] der = bytes(hexadecimal);

        assertArrayEquals(der, Der.withoutPadding(der));
        assertArrayEquals(der, Der.withoutPadding(Arrays.copyOf(der, der.length + 1)));
        assertArrayEquals(der, Der.withoutPadding(Arrays.copyOf(der, der.length + 5)));
    }

    @ParameterizedTest
    @CsvSource({"308180, 128", "3081ff, 255", "30820080, 128", "30820180, 384", "30820203, 515", "30828000, 32768",
        "3083008001, 32769", "3083018000, 98304"})
    void everyByteOfALengthCounts(String header, int length) {
        byte[] first = bytes(header);
        byte[] der = Arrays.copyOf(first, first.length + length);

        assertArrayEquals(der, Der.withoutPadding(der));
        assertArrayEquals(der, Der.withoutPadding(Arrays.copyOf(der, der.length + 4096)));
    }

    @ParameterizedTest
    @ValueSource(strings = {"30", "3080000000", "300302010000ff", "30050201000000", "3084ffffffff0000",
        "30887fffffffffffffff00", "30890100000000000000000000", "30ff00", "040100", "0200000000"})
    void anythingElseStaysAsItIs(String hexadecimal) {
        byte[] other = bytes(hexadecimal);

        assertArrayEquals(other, Der.withoutPadding(other));
    }

    private static byte[] bytes(String hexadecimal) {
        byte[] bytes = new BigInteger("01" + hexadecimal, 16).toByteArray();
        return Arrays.copyOfRange(bytes, 1, bytes.length);
    }
}
