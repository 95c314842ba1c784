// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** Why a job was refused, in kinds that a program can act upon. {@link Pkcs11Exception#getCode} is more precise. */
public enum Reason {
    /** The PIN or PUK is wrong. Each further try may lock it. */
    WRONG_PIN,
    /** The PIN or PUK is locked. */
    PIN_LOCKED,
    /** The PIN has expired, or none is set. */
    PIN_EXPIRED_OR_NOT_SET,
    /** The module's file is not there. */
    NO_MODULE,
    /** The file is no PKCS #11 module. */
    NOT_A_MODULE,
    /** The module cannot be loaded or initialised, or the PC/SC service does not answer. */
    MODULE_FAILED,
    /** There is no such reader. The message names those that there are. */
    NO_READER,
    /** Several readers have the name, or it is empty. The message names those that there are. */
    AMBIGUOUS_READER,
    /** The reader is empty, or its token is not the one that was asked for. */
    NO_TOKEN,
    /** The token is blank, or not one of the module's. */
    NOT_INITIALIZED,
    /** The token has no such object. */
    NO_SUCH_OBJECT,
    /** The module or the token cannot do this at all. */
    UNSUPPORTED,
    /** The signature is bad. */
    BAD_SIGNATURE,
    /** What was given is not acceptable. */
    BAD_DATA,
    /** An open session or another login stands in the way, of this program or of another. */
    IN_USE,
    /** Other threads kept the token busy for longer than the caller wanted to wait. */
    WAITED_TOO_LONG,
    /** What the job stood upon is gone: the card, its login, or the module's initialisation. */
    REMOVED,
    /** Anything else. */
    OTHER;

    /** Tells the reason by the code and the function that answered it. */
    static Reason of(long code, String step) {
        if (PcscCodes.isStep(step)) {
            return PcscCodes.reason(code);
        }
        switch (step) {
            case "search":
                return NO_SUCH_OBJECT;
            case "C_GetFunctionList":
                return NOT_A_MODULE;
            case "dlopen":
            case "C_Initialize":
            case "C_Finalize":
                return MODULE_FAILED;
            case "C_Login":
            case "C_InitToken":
                // A PIN that cannot be one is a wrong one; as a new PIN it is bad data.
                return code == ReturnCodes.CKR_PIN_INVALID || code == ReturnCodes.CKR_PIN_LEN_RANGE ? WRONG_PIN : of(code);
            default:
                return of(code);
        }
    }

    private static Reason of(long code) {
        // A long cannot be switched upon. What does not fit is a vendor's code.
        switch (code >>> 16 == 0 ? (int) code : -1) {
            case (int) ReturnCodes.CKR_PIN_INCORRECT:
                return WRONG_PIN;
            case (int) ReturnCodes.CKR_PIN_LOCKED:
                return PIN_LOCKED;
            case (int) ReturnCodes.CKR_PIN_EXPIRED:
            case (int) ReturnCodes.CKR_USER_PIN_NOT_INITIALIZED:
                return PIN_EXPIRED_OR_NOT_SET;
            case (int) ReturnCodes.CKR_SLOT_ID_INVALID:
                return NO_READER;
            case (int) ReturnCodes.CKR_TOKEN_NOT_PRESENT:
                return NO_TOKEN;
            case (int) ReturnCodes.CKR_TOKEN_NOT_RECOGNIZED:
                return NOT_INITIALIZED;
            case (int) ReturnCodes.CKR_OBJECT_HANDLE_INVALID:
            case (int) ReturnCodes.CKR_KEY_HANDLE_INVALID:
                return NO_SUCH_OBJECT;
            case (int) ReturnCodes.CKR_FUNCTION_NOT_SUPPORTED:
            case (int) ReturnCodes.CKR_MECHANISM_INVALID:
            case (int) ReturnCodes.CKR_MECHANISM_PARAM_INVALID:
            case (int) ReturnCodes.CKR_CURVE_NOT_SUPPORTED:
                return UNSUPPORTED;
            case (int) ReturnCodes.CKR_SIGNATURE_INVALID:
            case (int) ReturnCodes.CKR_SIGNATURE_LEN_RANGE:
                return BAD_SIGNATURE;
            case (int) ReturnCodes.CKR_ARGUMENTS_BAD:
            case (int) ReturnCodes.CKR_ATTRIBUTE_VALUE_INVALID:
            case (int) ReturnCodes.CKR_DATA_INVALID:
            case (int) ReturnCodes.CKR_DATA_LEN_RANGE:
            case (int) ReturnCodes.CKR_KEY_SIZE_RANGE:
            case (int) ReturnCodes.CKR_PIN_INVALID:
            case (int) ReturnCodes.CKR_PIN_LEN_RANGE:
            case (int) ReturnCodes.CKR_PIN_TOO_WEAK:
            case (int) ReturnCodes.CKR_TEMPLATE_INCOMPLETE:
            case (int) ReturnCodes.CKR_TEMPLATE_INCONSISTENT:
                return BAD_DATA;
            case (int) ReturnCodes.CKR_SESSION_EXISTS:
            case (int) ReturnCodes.CKR_SESSION_READ_ONLY_EXISTS:
            case (int) ReturnCodes.CKR_SESSION_READ_WRITE_SO_EXISTS:
            case (int) ReturnCodes.CKR_USER_ANOTHER_ALREADY_LOGGED_IN:
                return IN_USE;
            case (int) ReturnCodes.CKR_DEVICE_REMOVED:
            case (int) ReturnCodes.CKR_SESSION_CLOSED:
            case (int) ReturnCodes.CKR_SESSION_HANDLE_INVALID:
            case (int) ReturnCodes.CKR_USER_NOT_LOGGED_IN:
            case (int) ReturnCodes.CKR_CRYPTOKI_NOT_INITIALIZED:
                return REMOVED;
            default:
                return OTHER;
        }
    }
}
