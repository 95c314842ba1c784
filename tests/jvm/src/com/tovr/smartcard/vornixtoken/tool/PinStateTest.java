// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import com.tovr.smartcard.vornixtoken.TokenInfo.Flag;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.util.EnumSet;
import java.util.Set;
import java.util.stream.Collectors;
import java.util.stream.Stream;

class PinStateTest {
    @ParameterizedTest
    @CsvSource({
            "'',                                                            NOT_SET",
            "USER_PIN_INITIALIZED,                                          READY",
            "USER_PIN_INITIALIZED USER_PIN_COUNT_LOW,                       FEW_TRIES_LEFT",
            "USER_PIN_INITIALIZED USER_PIN_COUNT_LOW USER_PIN_FINAL_TRY,    LAST_TRY",
            "USER_PIN_INITIALIZED USER_PIN_COUNT_LOW USER_PIN_LOCKED,       LOCKED",
            "USER_PIN_INITIALIZED USER_PIN_FINAL_TRY USER_PIN_LOCKED,       LOCKED",
            "USER_PIN_INITIALIZED USER_PIN_TO_BE_CHANGED,                   TO_BE_CHANGED",
            "USER_PIN_INITIALIZED SO_PIN_COUNT_LOW SO_PIN_LOCKED,           READY"})
    void thePinsStateIsTheWorstThatTheFlagsTell(String flags, PinState state) {
        assertEquals(state, PinState.ofPin(flags(flags)));
    }

    @ParameterizedTest
    @CsvSource({
            "'',                                                      READY",
            "SO_PIN_COUNT_LOW,                                        FEW_TRIES_LEFT",
            "SO_PIN_COUNT_LOW SO_PIN_FINAL_TRY,                       LAST_TRY",
            "SO_PIN_FINAL_TRY SO_PIN_LOCKED,                          LOCKED",
            "SO_PIN_TO_BE_CHANGED,                                    TO_BE_CHANGED",
            "USER_PIN_COUNT_LOW USER_PIN_FINAL_TRY USER_PIN_LOCKED,   READY"})
    void thePuksStateIsTheWorstThatTheFlagsTell(String flags, PinState state) {
        assertEquals(state, PinState.ofPuk(flags(flags)));
    }

    @Test
    void aBlankTokenNeedsNoPin() {
        assertEquals(PinState.READY, PinState.ofPin(EnumSet.noneOf(Flag.class)));
        assertNull(PinState.READY.adviceOnPin());
        assertNull(PinState.READY.adviceOnPuk());
    }

    private static Set<Flag> flags(String names) {
        Set<Flag> flags = Stream.of(names.split(" ")).filter(name -> !name.isEmpty()).map(Flag::valueOf)
                .collect(Collectors.toCollection(() -> EnumSet.noneOf(Flag.class)));
        flags.add(Flag.TOKEN_INITIALIZED);
        return flags;
    }
}
