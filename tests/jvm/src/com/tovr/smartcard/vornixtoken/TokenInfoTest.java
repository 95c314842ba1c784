// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.tovr.smartcard.vornixtoken.TokenInfo.Flag;

import jvm.support.Values;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.util.Collections;
import java.util.EnumSet;

class TokenInfoTest {
    /** The numbers are those of PKCS #11 v2.40. */
    @ParameterizedTest
    @CsvSource({
            "1, RNG", "2, WRITE_PROTECTED", "4, LOGIN_REQUIRED", "8, USER_PIN_INITIALIZED",
            "20, RESTORE_KEY_NOT_NEEDED", "40, CLOCK_ON_TOKEN",
            "100, PROTECTED_AUTHENTICATION_PATH", "200, DUAL_CRYPTO_OPERATIONS",
            "400, TOKEN_INITIALIZED", "800, SECONDARY_AUTHENTICATION",
            "10000, USER_PIN_COUNT_LOW", "20000, USER_PIN_FINAL_TRY",
            "40000, USER_PIN_LOCKED", "80000, USER_PIN_TO_BE_CHANGED",
            "100000, SO_PIN_COUNT_LOW", "200000, SO_PIN_FINAL_TRY", "400000, SO_PIN_LOCKED",
            "800000, SO_PIN_TO_BE_CHANGED", "1000000, ERROR_STATE"})
    void aBitIsAFlag(String word, Flag flag) {
        assertEquals(Collections.singleton(flag), withFlags(word).getFlags());
    }

    @Test
    void allBitsAreAllFlagsAndAWord() {
        TokenInfo info = withFlags("ffffffffffffffff");

        assertEquals(EnumSet.allOf(Flag.class), info.getFlags());
        assertEquals(-1, info.getFlagWord());
    }

    @Test
    void aVendorsBitHasNoName() {
        assertEquals(Collections.emptySet(), withFlags("fffffffffe00f090").getFlags());
        assertEquals(0xfffffffffe00f090L, withFlags("fffffffffe00f090").getFlagWord());
    }

    @Test
    void itsFlagsCannotBeChanged() {
        assertThrows(UnsupportedOperationException.class, () -> withFlags("1").getFlags().clear());
    }

    @Test
    void itNamesATokenWithoutLabelAndNumberAsSuch() {
        assertEquals("Alice's (model, 0123)", new TokenInfo("Alice's", "", "model", "0123", 0).toString());
        assertEquals("a token without a label (model)", new TokenInfo("", "", "model", "", 0).toString());
    }

    @Test
    void itIsEqualToWhatTellsTheSame() {
        Values.assertEqual(withFlags("1"), withFlags("0000000000000001"));
        Values.assertDistinct(
                new TokenInfo("a", "b", "c", "d", "1"),
                new TokenInfo("x", "b", "c", "d", "1"),
                new TokenInfo("a", "x", "c", "d", "1"),
                new TokenInfo("a", "b", "x", "d", "1"),
                new TokenInfo("a", "b", "c", "x", "1"),
                new TokenInfo("a", "b", "c", "d", "100000001"));
    }

    private static TokenInfo withFlags(String word) {
        return new TokenInfo("label", "manufacturer", "model", "serial", word);
    }
}
