// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** The codes of the PC/SC service that the reset of a reader may meet. */
enum PcscCodes {
    SCARD_F_INTERNAL_ERROR(0x80100001L, Reason.MODULE_FAILED),
    SCARD_E_INVALID_HANDLE(0x80100003L, Reason.OTHER),
    SCARD_E_INVALID_PARAMETER(0x80100004L, Reason.BAD_DATA),
    SCARD_E_NO_MEMORY(0x80100006L, Reason.OTHER),
    SCARD_E_UNKNOWN_READER(0x80100009L, Reason.NO_READER),
    SCARD_E_TIMEOUT(0x8010000AL, Reason.OTHER),
    SCARD_E_SHARING_VIOLATION(0x8010000BL, Reason.IN_USE),
    SCARD_E_NO_SMARTCARD(0x8010000CL, Reason.NO_TOKEN),
    SCARD_E_PROTO_MISMATCH(0x8010000FL, Reason.OTHER),
    SCARD_E_NOT_READY(0x80100010L, Reason.OTHER),
    SCARD_E_INVALID_VALUE(0x80100011L, Reason.BAD_DATA),
    SCARD_F_COMM_ERROR(0x80100013L, Reason.MODULE_FAILED),
    SCARD_E_NOT_TRANSACTED(0x80100016L, Reason.OTHER),
    SCARD_E_READER_UNAVAILABLE(0x80100017L, Reason.NO_READER),
    SCARD_E_NO_SERVICE(0x8010001DL, Reason.MODULE_FAILED),
    SCARD_E_SERVICE_STOPPED(0x8010001EL, Reason.MODULE_FAILED),
    SCARD_E_NO_ACCESS(0x80100027L, Reason.MODULE_FAILED),
    SCARD_E_NO_READERS_AVAILABLE(0x8010002EL, Reason.NO_READER),
    SCARD_W_UNSUPPORTED_CARD(0x80100065L, Reason.UNSUPPORTED),
    SCARD_W_UNRESPONSIVE_CARD(0x80100066L, Reason.OTHER),
    SCARD_W_UNPOWERED_CARD(0x80100067L, Reason.OTHER),
    SCARD_W_RESET_CARD(0x80100068L, Reason.REMOVED),
    SCARD_W_REMOVED_CARD(0x80100069L, Reason.REMOVED),
    SCARD_W_SECURITY_VIOLATION(0x8010006AL, Reason.MODULE_FAILED);

    private final long code;
    private final Reason reason;

    PcscCodes(long code, Reason reason) {
        this.code = code;
        this.reason = reason;
    }

    /** Tells whether a function is one of the service's. */
    static boolean isStep(String step) {
        return step.startsWith("SCard");
    }

    static Reason reason(long code) {
        for (PcscCodes each : values()) {
            if (each.code == code) {
                return each.reason;
            }
        }
        return Reason.OTHER;
    }

    static String name(long code) {
        for (PcscCodes each : values()) {
            if (each.code == code) {
                return each.name();
            }
        }
        return ReturnCodes.hex(code);
    }
}
