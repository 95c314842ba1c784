// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.lang.reflect.Field;
import java.util.HashMap;
import java.util.Locale;
import java.util.Map;

/** The return codes of PKCS #11, version 2.40, for comparison with {@link Pkcs11Exception#getCode}. */
public final class ReturnCodes {
    /** Success. */
    public static final long CKR_OK = 0x0;
    /** The job was cancelled. */
    public static final long CKR_CANCEL = 0x1;
    /** The computer has too little memory. */
    public static final long CKR_HOST_MEMORY = 0x2;
    /** There is no such slot. */
    public static final long CKR_SLOT_ID_INVALID = 0x3;
    /** The module failed and cannot say why. */
    public static final long CKR_GENERAL_ERROR = 0x5;
    /** The function failed. This library's code when no object is found, too. */
    public static final long CKR_FUNCTION_FAILED = 0x6;
    /** An argument is not acceptable. */
    public static final long CKR_ARGUMENTS_BAD = 0x7;
    /** No slot has changed. */
    public static final long CKR_NO_EVENT = 0x8;
    /** The module needs threads of its own. */
    public static final long CKR_NEED_TO_CREATE_THREADS = 0x9;
    /** The module cannot lock as it is told. */
    public static final long CKR_CANT_LOCK = 0xA;
    /** The attribute cannot be changed. */
    public static final long CKR_ATTRIBUTE_READ_ONLY = 0x10;
    /** The attribute cannot be read. */
    public static final long CKR_ATTRIBUTE_SENSITIVE = 0x11;
    /** The object has no such attribute. */
    public static final long CKR_ATTRIBUTE_TYPE_INVALID = 0x12;
    /** The attribute cannot have this value. */
    public static final long CKR_ATTRIBUTE_VALUE_INVALID = 0x13;
    /** The token's policy forbids it. */
    public static final long CKR_ACTION_PROHIBITED = 0x1B;
    /** The data are not acceptable. */
    public static final long CKR_DATA_INVALID = 0x20;
    /** The data are too short or too long. */
    public static final long CKR_DATA_LEN_RANGE = 0x21;
    /** The token or its reader failed. */
    public static final long CKR_DEVICE_ERROR = 0x30;
    /** The token has too little memory. */
    public static final long CKR_DEVICE_MEMORY = 0x31;
    /** The token was removed. */
    public static final long CKR_DEVICE_REMOVED = 0x32;
    /** The ciphertext is not acceptable. */
    public static final long CKR_ENCRYPTED_DATA_INVALID = 0x40;
    /** The ciphertext is too short or too long. */
    public static final long CKR_ENCRYPTED_DATA_LEN_RANGE = 0x41;
    /** The function was cancelled. */
    public static final long CKR_FUNCTION_CANCELED = 0x50;
    /** No function runs in parallel. */
    public static final long CKR_FUNCTION_NOT_PARALLEL = 0x51;
    /** The module does not have the function. */
    public static final long CKR_FUNCTION_NOT_SUPPORTED = 0x54;
    /** There is no such key. */
    public static final long CKR_KEY_HANDLE_INVALID = 0x60;
    /** The key is too short or too long. */
    public static final long CKR_KEY_SIZE_RANGE = 0x62;
    /** The key does not fit the mechanism. */
    public static final long CKR_KEY_TYPE_INCONSISTENT = 0x63;
    /** No key is needed. */
    public static final long CKR_KEY_NOT_NEEDED = 0x64;
    /** The key has changed. */
    public static final long CKR_KEY_CHANGED = 0x65;
    /** A key is needed. */
    public static final long CKR_KEY_NEEDED = 0x66;
    /** The key cannot be digested. */
    public static final long CKR_KEY_INDIGESTIBLE = 0x67;
    /** The key may not be used for this. */
    public static final long CKR_KEY_FUNCTION_NOT_PERMITTED = 0x68;
    /** The key cannot be wrapped. */
    public static final long CKR_KEY_NOT_WRAPPABLE = 0x69;
    /** The key cannot leave the token. */
    public static final long CKR_KEY_UNEXTRACTABLE = 0x6A;
    /** The token does not have the mechanism. */
    public static final long CKR_MECHANISM_INVALID = 0x70;
    /** The mechanism's parameters are not acceptable. */
    public static final long CKR_MECHANISM_PARAM_INVALID = 0x71;
    /** There is no such object. */
    public static final long CKR_OBJECT_HANDLE_INVALID = 0x82;
    /** Another operation runs in the session. */
    public static final long CKR_OPERATION_ACTIVE = 0x90;
    /** No such operation runs in the session. */
    public static final long CKR_OPERATION_NOT_INITIALIZED = 0x91;
    /** The PIN is wrong. */
    public static final long CKR_PIN_INCORRECT = 0xA0;
    /** The PIN has characters that it must not have. */
    public static final long CKR_PIN_INVALID = 0xA1;
    /** The PIN is too short or too long. */
    public static final long CKR_PIN_LEN_RANGE = 0xA2;
    /** The PIN has expired. */
    public static final long CKR_PIN_EXPIRED = 0xA3;
    /** The PIN is locked. */
    public static final long CKR_PIN_LOCKED = 0xA4;
    /** The session was closed meanwhile. */
    public static final long CKR_SESSION_CLOSED = 0xB0;
    /** Too many sessions are open. */
    public static final long CKR_SESSION_COUNT = 0xB1;
    /** There is no such session. */
    public static final long CKR_SESSION_HANDLE_INVALID = 0xB3;
    /** There are no parallel sessions. */
    public static final long CKR_SESSION_PARALLEL_NOT_SUPPORTED = 0xB4;
    /** The session cannot change the token. */
    public static final long CKR_SESSION_READ_ONLY = 0xB5;
    /** A session is open. */
    public static final long CKR_SESSION_EXISTS = 0xB6;
    /** A session that only reads is open. */
    public static final long CKR_SESSION_READ_ONLY_EXISTS = 0xB7;
    /** A session of the security officer is open. */
    public static final long CKR_SESSION_READ_WRITE_SO_EXISTS = 0xB8;
    /** The signature is bad. */
    public static final long CKR_SIGNATURE_INVALID = 0xC0;
    /** The signature is bad by its length alone. */
    public static final long CKR_SIGNATURE_LEN_RANGE = 0xC1;
    /** An attribute is missing. */
    public static final long CKR_TEMPLATE_INCOMPLETE = 0xD0;
    /** The attributes contradict each other. */
    public static final long CKR_TEMPLATE_INCONSISTENT = 0xD1;
    /** There is no token in the reader. */
    public static final long CKR_TOKEN_NOT_PRESENT = 0xE0;
    /** The token is blank or not one of the module's. */
    public static final long CKR_TOKEN_NOT_RECOGNIZED = 0xE1;
    /** The token cannot be changed. */
    public static final long CKR_TOKEN_WRITE_PROTECTED = 0xE2;
    /** There is no such key to unwrap with. */
    public static final long CKR_UNWRAPPING_KEY_HANDLE_INVALID = 0xF0;
    /** The key to unwrap with is too short or too long. */
    public static final long CKR_UNWRAPPING_KEY_SIZE_RANGE = 0xF1;
    /** The key to unwrap with does not fit the mechanism. */
    public static final long CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT = 0xF2;
    /** The user is logged in already. */
    public static final long CKR_USER_ALREADY_LOGGED_IN = 0x100;
    /** The user is not logged in. */
    public static final long CKR_USER_NOT_LOGGED_IN = 0x101;
    /** No user PIN is set. */
    public static final long CKR_USER_PIN_NOT_INITIALIZED = 0x102;
    /** There is no such kind of user. */
    public static final long CKR_USER_TYPE_INVALID = 0x103;
    /** Another kind of user is logged in. */
    public static final long CKR_USER_ANOTHER_ALREADY_LOGGED_IN = 0x104;
    /** Too many kinds of users are logged in. */
    public static final long CKR_USER_TOO_MANY_TYPES = 0x105;
    /** The wrapped key is not acceptable. */
    public static final long CKR_WRAPPED_KEY_INVALID = 0x110;
    /** The wrapped key is too short or too long. */
    public static final long CKR_WRAPPED_KEY_LEN_RANGE = 0x112;
    /** There is no such key to wrap with. */
    public static final long CKR_WRAPPING_KEY_HANDLE_INVALID = 0x113;
    /** The key to wrap with is too short or too long. */
    public static final long CKR_WRAPPING_KEY_SIZE_RANGE = 0x114;
    /** The key to wrap with does not fit the mechanism. */
    public static final long CKR_WRAPPING_KEY_TYPE_INCONSISTENT = 0x115;
    /** The generator of random numbers takes no seed. */
    public static final long CKR_RANDOM_SEED_NOT_SUPPORTED = 0x120;
    /** The token has no generator of random numbers. */
    public static final long CKR_RANDOM_NO_RNG = 0x121;
    /** The domain parameters are not acceptable. */
    public static final long CKR_DOMAIN_PARAMS_INVALID = 0x130;
    /** The token does not have the curve. */
    public static final long CKR_CURVE_NOT_SUPPORTED = 0x140;
    /** The buffer is too small. */
    public static final long CKR_BUFFER_TOO_SMALL = 0x150;
    /** The saved state is not acceptable. */
    public static final long CKR_SAVED_STATE_INVALID = 0x160;
    /** The information is secret. */
    public static final long CKR_INFORMATION_SENSITIVE = 0x170;
    /** The state cannot be saved. */
    public static final long CKR_STATE_UNSAVEABLE = 0x180;
    /** The module is not initialised. */
    public static final long CKR_CRYPTOKI_NOT_INITIALIZED = 0x190;
    /** The module is initialised already. */
    public static final long CKR_CRYPTOKI_ALREADY_INITIALIZED = 0x191;
    /** There is no such mutex. */
    public static final long CKR_MUTEX_BAD = 0x1A0;
    /** The mutex is not locked. */
    public static final long CKR_MUTEX_NOT_LOCKED = 0x1A1;
    /** A new PIN must be chosen. */
    public static final long CKR_NEW_PIN_MODE = 0x1B0;
    /** The next one-time password is needed. */
    public static final long CKR_NEXT_OTP = 0x1B1;
    /** No result was found in the number of rounds that is allowed. */
    public static final long CKR_EXCEEDED_MAX_ITERATIONS = 0x1B5;
    /** The module's test of itself failed. */
    public static final long CKR_FIPS_SELF_TEST_FAILED = 0x1B6;
    /** The module could not load a library. */
    public static final long CKR_LIBRARY_LOAD_FAILED = 0x1B7;
    /** The new PIN is too simple. */
    public static final long CKR_PIN_TOO_WEAK = 0x1B8;
    /** The public key is not acceptable. */
    public static final long CKR_PUBLIC_KEY_INVALID = 0x1B9;
    /** The user refused. */
    public static final long CKR_FUNCTION_REJECTED = 0x200;

    private static final long VENDOR_DEFINED = 0x80000000L;

    private ReturnCodes() {
    }

    /** Looked at only when something failed, and therefore made only then. */
    private static final class Names {
        static final Map<Long, String> ALL = new HashMap<>();

        static {
            for (Field field : ReturnCodes.class.getFields()) {
                try {
                    ALL.put(field.getLong(null), field.getName());
                } catch (IllegalAccessException impossible) {
                    throw new AssertionError(impossible);
                }
            }
        }
    }

    static boolean isVendorDefined(long code) {
        return Long.compareUnsigned(code, VENDOR_DEFINED) >= 0;
    }

    /**
     * Names a code.
     *
     * @param code the code
     * @return its name here; its number where it has none
     */
    public static String name(long code) {
        if (isVendorDefined(code)) {
            return "CKR_VENDOR_DEFINED + " + hex(code - VENDOR_DEFINED);
        }
        return Names.ALL.getOrDefault(code, hex(code));
    }

    static String hex(long number) {
        return "0x" + Long.toHexString(number).toUpperCase(Locale.ROOT);
    }
}
