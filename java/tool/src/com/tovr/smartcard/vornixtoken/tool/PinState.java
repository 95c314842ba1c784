// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.TokenInfo.Flag;

import java.util.Set;

/** How it stands with a PIN or PUK, as far as the token's flags tell, and what to do then. */
enum PinState {
    LOCKED("locked"),
    LAST_TRY("last try"),
    /** A wrong one was given since the last right one. The flags do not tell whether the token ever locks. */
    FEW_TRIES_LEFT("few tries left"),
    NOT_SET("not set"),
    TO_BE_CHANGED("to be changed"),
    /** The flags tell nothing. */
    READY("ready");

    private final String text;

    PinState(String text) {
        this.text = text;
    }

    static PinState ofPin(Set<Flag> flags) {
        if (flags.contains(Flag.TOKEN_INITIALIZED) && !flags.contains(Flag.USER_PIN_INITIALIZED)) {
            return NOT_SET;
        }
        return of(flags, Flag.USER_PIN_LOCKED, Flag.USER_PIN_FINAL_TRY, Flag.USER_PIN_COUNT_LOW,
                Flag.USER_PIN_TO_BE_CHANGED);
    }

    static PinState ofPuk(Set<Flag> flags) {
        return of(flags, Flag.SO_PIN_LOCKED, Flag.SO_PIN_FINAL_TRY, Flag.SO_PIN_COUNT_LOW, Flag.SO_PIN_TO_BE_CHANGED);
    }

    private static PinState of(Set<Flag> flags, Flag locked, Flag finalTry, Flag countLow, Flag toBeChanged) {
        if (flags.contains(locked)) {
            return LOCKED;
        }
        if (flags.contains(finalTry)) {
            return LAST_TRY;
        }
        if (flags.contains(countLow)) {
            return FEW_TRIES_LEFT;
        }
        return flags.contains(toBeChanged) ? TO_BE_CHANGED : READY;
    }

    /** Says what to do about a PIN in this state; null: nothing. */
    String adviceOnPin() {
        switch (this) {
            case LOCKED:
                return "locked: whoever has the PUK can unlock the PIN with the token maker's software;"
                        + " \"vornixtoken-tool init\" starts over, and all objects are lost";
            case LAST_TRY:
                return "last try: another wrong PIN locks it, so do not guess, and ask whoever issued the token";
            case FEW_TRIES_LEFT:
                return fewTriesLeft("PIN");
            case NOT_SET:
                return "not set: whoever has the PUK sets the first PIN with the token maker's software";
            case TO_BE_CHANGED:
                return "to be changed: it is the default one or has expired; use \"vornixtoken-tool change-pin\"";
            default:
                return null;
        }
    }

    /** Says what to do about a PUK in this state; null: nothing. */
    String adviceOnPuk() {
        switch (this) {
            case LOCKED:
                return "locked: only the token's maker can help";
            case LAST_TRY:
                return "last try: another wrong PUK locks it for good, so do not guess, and ask whoever issued the token";
            case FEW_TRIES_LEFT:
                return fewTriesLeft("PUK");
            case TO_BE_CHANGED:
                return "to be changed: it is the default one or has expired; use \"vornixtoken-tool change-puk\"";
            default:
                return null;
        }
    }

    private static String fewTriesLeft(String secret) {
        return "few tries left: a wrong " + secret + " was given since the last right one; make sure of it before the next"
                + " one, because wrong ones may lock it";
    }

    @Override
    public String toString() {
        return text;
    }
}
