// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.HashMap;
import java.util.Locale;
import java.util.Map;

/** The names of PKCS #11's return codes, version 2.40. */
final class ReturnCodes {
    static final long OK = 0;

    /** The library's own codes. In PKCS #11 they have another meaning, or a wider one. */
    private static final long MODULE_NOT_USABLE = 1;
    private static final long NOT_FOUND = 6;

    private static final long VENDOR_DEFINED = 0x80000000L;

    private static final Map<Long, String> NAMES = new HashMap<>();

    static {
        put(0x0, "CKR_OK");
        put(0x1, "CKR_CANCEL");
        put(0x2, "CKR_HOST_MEMORY");
        put(0x3, "CKR_SLOT_ID_INVALID");
        put(0x5, "CKR_GENERAL_ERROR");
        put(0x6, "CKR_FUNCTION_FAILED");
        put(0x7, "CKR_ARGUMENTS_BAD");
        put(0x8, "CKR_NO_EVENT");
        put(0x9, "CKR_NEED_TO_CREATE_THREADS");
        put(0xA, "CKR_CANT_LOCK");
        put(0x10, "CKR_ATTRIBUTE_READ_ONLY");
        put(0x11, "CKR_ATTRIBUTE_SENSITIVE");
        put(0x12, "CKR_ATTRIBUTE_TYPE_INVALID");
        put(0x13, "CKR_ATTRIBUTE_VALUE_INVALID");
        put(0x1B, "CKR_ACTION_PROHIBITED");
        put(0x20, "CKR_DATA_INVALID");
        put(0x21, "CKR_DATA_LEN_RANGE");
        put(0x30, "CKR_DEVICE_ERROR");
        put(0x31, "CKR_DEVICE_MEMORY");
        put(0x32, "CKR_DEVICE_REMOVED");
        put(0x40, "CKR_ENCRYPTED_DATA_INVALID");
        put(0x41, "CKR_ENCRYPTED_DATA_LEN_RANGE");
        put(0x50, "CKR_FUNCTION_CANCELED");
        put(0x51, "CKR_FUNCTION_NOT_PARALLEL");
        put(0x54, "CKR_FUNCTION_NOT_SUPPORTED");
        put(0x60, "CKR_KEY_HANDLE_INVALID");
        put(0x62, "CKR_KEY_SIZE_RANGE");
        put(0x63, "CKR_KEY_TYPE_INCONSISTENT");
        put(0x64, "CKR_KEY_NOT_NEEDED");
        put(0x65, "CKR_KEY_CHANGED");
        put(0x66, "CKR_KEY_NEEDED");
        put(0x67, "CKR_KEY_INDIGESTIBLE");
        put(0x68, "CKR_KEY_FUNCTION_NOT_PERMITTED");
        put(0x69, "CKR_KEY_NOT_WRAPPABLE");
        put(0x6A, "CKR_KEY_UNEXTRACTABLE");
        put(0x70, "CKR_MECHANISM_INVALID");
        put(0x71, "CKR_MECHANISM_PARAM_INVALID");
        put(0x82, "CKR_OBJECT_HANDLE_INVALID");
        put(0x90, "CKR_OPERATION_ACTIVE");
        put(0x91, "CKR_OPERATION_NOT_INITIALIZED");
        put(0xA0, "CKR_PIN_INCORRECT");
        put(0xA1, "CKR_PIN_INVALID");
        put(0xA2, "CKR_PIN_LEN_RANGE");
        put(0xA3, "CKR_PIN_EXPIRED");
        put(0xA4, "CKR_PIN_LOCKED");
        put(0xB0, "CKR_SESSION_CLOSED");
        put(0xB1, "CKR_SESSION_COUNT");
        put(0xB3, "CKR_SESSION_HANDLE_INVALID");
        put(0xB4, "CKR_SESSION_PARALLEL_NOT_SUPPORTED");
        put(0xB5, "CKR_SESSION_READ_ONLY");
        put(0xB6, "CKR_SESSION_EXISTS");
        put(0xB7, "CKR_SESSION_READ_ONLY_EXISTS");
        put(0xB8, "CKR_SESSION_READ_WRITE_SO_EXISTS");
        put(0xC0, "CKR_SIGNATURE_INVALID");
        put(0xC1, "CKR_SIGNATURE_LEN_RANGE");
        put(0xD0, "CKR_TEMPLATE_INCOMPLETE");
        put(0xD1, "CKR_TEMPLATE_INCONSISTENT");
        put(0xE0, "CKR_TOKEN_NOT_PRESENT");
        put(0xE1, "CKR_TOKEN_NOT_RECOGNIZED");
        put(0xE2, "CKR_TOKEN_WRITE_PROTECTED");
        put(0xF0, "CKR_UNWRAPPING_KEY_HANDLE_INVALID");
        put(0xF1, "CKR_UNWRAPPING_KEY_SIZE_RANGE");
        put(0xF2, "CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT");
        put(0x100, "CKR_USER_ALREADY_LOGGED_IN");
        put(0x101, "CKR_USER_NOT_LOGGED_IN");
        put(0x102, "CKR_USER_PIN_NOT_INITIALIZED");
        put(0x103, "CKR_USER_TYPE_INVALID");
        put(0x104, "CKR_USER_ANOTHER_ALREADY_LOGGED_IN");
        put(0x105, "CKR_USER_TOO_MANY_TYPES");
        put(0x110, "CKR_WRAPPED_KEY_INVALID");
        put(0x112, "CKR_WRAPPED_KEY_LEN_RANGE");
        put(0x113, "CKR_WRAPPING_KEY_HANDLE_INVALID");
        put(0x114, "CKR_WRAPPING_KEY_SIZE_RANGE");
        put(0x115, "CKR_WRAPPING_KEY_TYPE_INCONSISTENT");
        put(0x120, "CKR_RANDOM_SEED_NOT_SUPPORTED");
        put(0x121, "CKR_RANDOM_NO_RNG");
        put(0x130, "CKR_DOMAIN_PARAMS_INVALID");
        put(0x140, "CKR_CURVE_NOT_SUPPORTED");
        put(0x150, "CKR_BUFFER_TOO_SMALL");
        put(0x160, "CKR_SAVED_STATE_INVALID");
        put(0x170, "CKR_INFORMATION_SENSITIVE");
        put(0x180, "CKR_STATE_UNSAVEABLE");
        put(0x190, "CKR_CRYPTOKI_NOT_INITIALIZED");
        put(0x191, "CKR_CRYPTOKI_ALREADY_INITIALIZED");
        put(0x1A0, "CKR_MUTEX_BAD");
        put(0x1A1, "CKR_MUTEX_NOT_LOCKED");
        put(0x1B0, "CKR_NEW_PIN_MODE");
        put(0x1B1, "CKR_NEXT_OTP");
        put(0x1B5, "CKR_EXCEEDED_MAX_ITERATIONS");
        put(0x1B6, "CKR_FIPS_SELF_TEST_FAILED");
        put(0x1B7, "CKR_LIBRARY_LOAD_FAILED");
        put(0x1B8, "CKR_PIN_TOO_WEAK");
        put(0x1B9, "CKR_PUBLIC_KEY_INVALID");
        put(0x200, "CKR_FUNCTION_REJECTED");
    }

    private ReturnCodes() {
    }

    private static void put(long code, String name) {
        NAMES.put(code, name);
    }

    static boolean isVendorDefined(long code) {
        return Long.compareUnsigned(code, VENDOR_DEFINED) >= 0;
    }

    static String name(long code) {
        if (isVendorDefined(code)) {
            return "CKR_VENDOR_DEFINED + " + hex(code - VENDOR_DEFINED);
        }
        return NAMES.getOrDefault(code, hex(code));
    }

    /** The name, the number and, where the library gives a code a meaning of its own, that meaning. */
    static String describe(long code) {
        String text = name(code) + " (" + hex(code) + ")";
        if (code == OK) {
            return text + ", but nothing was delivered";
        }
        if (code == MODULE_NOT_USABLE) {
            return "the module could not be loaded or initialised: " + text;
        }
        if (code == NOT_FOUND) {
            return text + ", no such reader or object";
        }
        return text;
    }

    private static String hex(long number) {
        return "0x" + Long.toHexString(number).toUpperCase(Locale.ROOT);
    }
}
