package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertEquals;

import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

class ReturnCodesTest {
    @ParameterizedTest
    @CsvSource({
            "0,                CKR_OK,                              false",
            "5,                CKR_GENERAL_ERROR,                   false",
            "a0,               CKR_PIN_INCORRECT,                   false",
            "100,              CKR_USER_ALREADY_LOGGED_IN,          false",
            "1b8,              CKR_PIN_TOO_WEAK,                    false",
            "4,                0x4,                                 false",
            "7fffffff,         0x7FFFFFFF,                          false",
            "80000000,         CKR_VENDOR_DEFINED + 0x0,            true",
            "80000012,         CKR_VENDOR_DEFINED + 0x12,           true",
            "ffffffffffffffff, CKR_VENDOR_DEFINED + 0xFFFFFFFF7FFFFFFF, true",
    })
    void aCodeHasItsStandardName(String hexadecimal, String name, boolean vendorDefined) {
        Pkcs11Exception failure = new Pkcs11Exception(Long.parseUnsignedLong(hexadecimal, 16), "trying");

        assertEquals(name, failure.getCodeName());
        assertEquals(vendorDefined, failure.isVendorDefined());
        assertEquals(Long.parseUnsignedLong(hexadecimal, 16), failure.getCode());
    }
}
