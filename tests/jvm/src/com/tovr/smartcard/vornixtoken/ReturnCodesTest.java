// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertEquals;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.util.HashMap;
import java.util.Map;

class ReturnCodesTest {
    /** All codes of PKCS #11 v2.40: a number, and the names, without CKR_, of it and of those that follow it. */
    private static final String[] STANDARD = {
        "0   OK CANCEL HOST_MEMORY SLOT_ID_INVALID",
        "5   GENERAL_ERROR FUNCTION_FAILED ARGUMENTS_BAD NO_EVENT NEED_TO_CREATE_THREADS CANT_LOCK",
        "10  ATTRIBUTE_READ_ONLY ATTRIBUTE_SENSITIVE ATTRIBUTE_TYPE_INVALID ATTRIBUTE_VALUE_INVALID",
        "1b  ACTION_PROHIBITED",
        "20  DATA_INVALID DATA_LEN_RANGE",
        "30  DEVICE_ERROR DEVICE_MEMORY DEVICE_REMOVED",
        "40  ENCRYPTED_DATA_INVALID ENCRYPTED_DATA_LEN_RANGE",
        "50  FUNCTION_CANCELED FUNCTION_NOT_PARALLEL",
        "54  FUNCTION_NOT_SUPPORTED",
        "60  KEY_HANDLE_INVALID",
        "62  KEY_SIZE_RANGE KEY_TYPE_INCONSISTENT KEY_NOT_NEEDED KEY_CHANGED KEY_NEEDED KEY_INDIGESTIBLE",
        "68  KEY_FUNCTION_NOT_PERMITTED KEY_NOT_WRAPPABLE KEY_UNEXTRACTABLE",
        "70  MECHANISM_INVALID MECHANISM_PARAM_INVALID",
        "82  OBJECT_HANDLE_INVALID",
        "90  OPERATION_ACTIVE OPERATION_NOT_INITIALIZED",
        "a0  PIN_INCORRECT PIN_INVALID PIN_LEN_RANGE PIN_EXPIRED PIN_LOCKED",
        "b0  SESSION_CLOSED SESSION_COUNT",
        "b3  SESSION_HANDLE_INVALID SESSION_PARALLEL_NOT_SUPPORTED SESSION_READ_ONLY SESSION_EXISTS",
        "b7  SESSION_READ_ONLY_EXISTS SESSION_READ_WRITE_SO_EXISTS",
        "c0  SIGNATURE_INVALID SIGNATURE_LEN_RANGE",
        "d0  TEMPLATE_INCOMPLETE TEMPLATE_INCONSISTENT",
        "e0  TOKEN_NOT_PRESENT TOKEN_NOT_RECOGNIZED TOKEN_WRITE_PROTECTED",
        "f0  UNWRAPPING_KEY_HANDLE_INVALID UNWRAPPING_KEY_SIZE_RANGE UNWRAPPING_KEY_TYPE_INCONSISTENT",
        "100 USER_ALREADY_LOGGED_IN USER_NOT_LOGGED_IN USER_PIN_NOT_INITIALIZED USER_TYPE_INVALID",
        "104 USER_ANOTHER_ALREADY_LOGGED_IN USER_TOO_MANY_TYPES",
        "110 WRAPPED_KEY_INVALID",
        "112 WRAPPED_KEY_LEN_RANGE WRAPPING_KEY_HANDLE_INVALID WRAPPING_KEY_SIZE_RANGE WRAPPING_KEY_TYPE_INCONSISTENT",
        "120 RANDOM_SEED_NOT_SUPPORTED RANDOM_NO_RNG",
        "130 DOMAIN_PARAMS_INVALID",
        "140 CURVE_NOT_SUPPORTED",
        "150 BUFFER_TOO_SMALL",
        "160 SAVED_STATE_INVALID",
        "170 INFORMATION_SENSITIVE",
        "180 STATE_UNSAVEABLE",
        "190 CRYPTOKI_NOT_INITIALIZED CRYPTOKI_ALREADY_INITIALIZED",
        "1a0 MUTEX_BAD MUTEX_NOT_LOCKED",
        "1b0 NEW_PIN_MODE NEXT_OTP",
        "1b5 EXCEEDED_MAX_ITERATIONS FIPS_SELF_TEST_FAILED LIBRARY_LOAD_FAILED PIN_TOO_WEAK PUBLIC_KEY_INVALID",
        "200 FUNCTION_REJECTED",
    };

    @Test
    void aCodeHasItsStandardNameOrNone() {
        Map<Long, String> names = new HashMap<>();
        for (String line : STANDARD) {
            String[] words = line.split(" +");
            for (int i = 1; i < words.length; i++) {
                names.put(Long.parseLong(words[0], 16) + i - 1, "CKR_" + words[i]);
            }
        }
        for (long code = 0; code < 0x1000; code++) {
            String number = String.format("0x%X", code);
            assertEquals(names.getOrDefault(code, number), ReturnCodes.name(code), number);
        }
    }

    @ParameterizedTest
    @CsvSource({
            "a0,               CKR_PIN_INCORRECT,                           false",
            "7fffffff,         0x7FFFFFFF,                                  false",
            "80000000,         CKR_VENDOR_DEFINED + 0x0,                    true",
            "80000012,         CKR_VENDOR_DEFINED + 0x12,                   true",
            "ffffffff,         CKR_VENDOR_DEFINED + 0x7FFFFFFF,             true",
            "7fffffffffffffff, CKR_VENDOR_DEFINED + 0x7FFFFFFF7FFFFFFF,     true",
            "8000000000000000, CKR_VENDOR_DEFINED + 0x7FFFFFFF80000000,     true",
            "80000000000000a0, CKR_VENDOR_DEFINED + 0x7FFFFFFF800000A0,     true",
            "ffffffffffffffff, CKR_VENDOR_DEFINED + 0xFFFFFFFF7FFFFFFF,     true",
    })
    void codesOf0x80000000AndAboveAreVendors(String hexadecimal, String name, boolean vendorDefined) {
        NativeFailure answered = new NativeFailure(Long.parseUnsignedLong(hexadecimal, 16), "C_Login", "");
        Pkcs11Exception failure = new Pkcs11Exception(answered, "trying", "");

        assertEquals(name, failure.getCodeName());
        assertEquals(vendorDefined, failure.isVendorDefined());
        assertEquals(Long.parseUnsignedLong(hexadecimal, 16), failure.getCode());
        assertEquals("trying: " + name + " (0x" + hexadecimal.toUpperCase() + ") from C_Login", failure.getMessage());
    }
}
