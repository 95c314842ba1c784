// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.utils;

/**
 * Card readers through the PC/SC service, without any PKCS #11 module. The application loads the library, as for
 * {@link com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper}.
 */
public final class PcscUtils {
    private PcscUtils() {
    }

    /**
     * Powers the card in a reader down, so that its next user gets a freshly powered one. Anyone else who is using the
     * card at that moment loses it. Returns normally in every case; a failure is told on standard output only.
     *
     * @param readerName the reader's full name
     */
    public static native void resetTerminal(String readerName);
}
