// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.nio.charset.StandardCharsets;

/**
 * One call into {@code libvornixtoken_session}: the natives of the open token, and what such a call reports.
 *
 * <p>A {@code module} is what {@link #load} returns, a {@code session} what {@link #openSession} returns. The natives
 * check neither, take no lock and print nothing. Texts are UTF-8, without a NUL at the end. An array is never
 * {@code null} unless a comment says so; an ID of length 0 names no object. Results of several fields are packed: each
 * field is its length (4 bytes) and its bytes, a number is a field of 8 bytes; all big-endian ({@link Fields}).
 *
 * <p>A session that has lost its login sees the public objects alone, and its search succeeds; a module may remember the
 * objects of a card that is out. So a job that looks for objects asks session and slot, and fails with
 * CKR_USER_NOT_LOGGED_IN from {@code C_GetSessionInfo} or CKR_DEVICE_REMOVED from {@code C_GetSlotInfo}.
 */
final class NativeCall {
    private String diagnostics = "";

    /** Binds the other natives of this class. The only native that the library exports by name. */
    static native void bind();

    /** Loads a module's file, as the dynamic loader takes it, and fetches its function list. */
    native long load(byte[] path) throws NativeFailure;

    /** The address of the module's function list: the same for every copy of this library in the process. */
    native long functionList(long module);

    /**
     * Initialises the module with {@code CKF_OS_LOCKING_OK}, or without where it cannot lock.
     *
     * @return 0 when the module takes several threads, 1 when it takes one at a time, 2 when somebody else had
     *         initialised it
     */
    native int initialize(long module) throws NativeFailure;

    /** Calls C_Finalize. */
    native void finish(long module) throws NativeFailure;

    /** Unloads the module's file without C_Finalize. The module is not valid any longer. */
    native void unload(long module);

    /** Tells whether the entries behind the standard's function list are functions of this module. */
    native boolean hasVendorFunctions(long module);

    /**
     * Describes every slot. Ten fields each: ID, description, manufacturer, flags; the code of C_GetTokenInfo (0xE0
     * without asking where no token is present); the token's label, manufacturer, model, serial number and flags (empty
     * and 0 unless that code is 0). Texts are without trailing blanks.
     *
     * @param tokens whether C_GetTokenInfo is called at all; else every slot's code is 0xE0
     */
    native byte[] slots(long module, boolean tokens) throws NativeFailure;

    /** Describes the token: label, manufacturer, model, serial number, flags in hexadecimal. */
    native byte[] tokenInfo(long module, long slot) throws NativeFailure;

    /** Opens a read/write session. */
    native long openSession(long module, long slot) throws NativeFailure;

    /**
     * Logs in.
     *
     * @param userType 0 for the security officer, 1 for the user
     * @return whether the PIN was looked at; a login that is there already (0x100) counts as one
     */
    native boolean login(long module, long session, long userType, byte[] pin) throws NativeFailure;

    native void closeSession(long module, long session) throws NativeFailure;

    /** Initialises the token. Needs no session. */
    native void initializeToken(long module, long slot, byte[] puk) throws NativeFailure;

    /** Changes the code of the user who is logged in. */
    native void changePin(long module, long session, byte[] oldPin, byte[] newPin) throws NativeFailure;

    /** Destroys nothing where the login is gone already. */
    native void destroyObjects(long module, long session) throws NativeFailure;

    /** Four fields an object: type, label, ID in hexadecimal, key type. Type and key type may be empty. */
    native byte[] listObjects(long module, long session) throws NativeFailure;

    /** Four fields a certificate: label, ID, value, and 1 where a private key has its ID, else 0. */
    native byte[] listCertificates(long module, long session) throws NativeFailure;

    native byte[] readCertificate(long module, long session, byte[] label, byte[] id) throws NativeFailure;

    /** Two fields: modulus, exponent. */
    native byte[] readPublicKey(long module, long session, byte[] label, byte[] id) throws NativeFailure;

    /** A label must not hold a NUL. */
    native void importCertificate(long module, long session, byte[] label, byte[] id, byte[] certificate)
            throws NativeFailure;

    native void importBlocks(long module, long session, byte[] first, byte[] second) throws NativeFailure;

    native void generateRsaKeyPair(long module, long session, long modulusBits, byte[] label, byte[] id)
            throws NativeFailure;

    native void generateGostKeyPair(long module, long session, byte[] label, byte[] id) throws NativeFailure;

    native byte[] sign(long module, long session, byte[] data, byte[] certificateId, byte[] privateKeyId,
            byte[][] furtherCertificateIds, long flags) throws NativeFailure;

    /** Either input may be {@code null}. */
    native void verify(long module, byte[] firstInput, byte[] secondInput) throws NativeFailure;

    /** Subject, attributes and extensions are runs of texts, each with its NUL; the counts are those of the texts. */
    native byte[] createRequest(long module, long session, byte[] publicKeyId, byte[] privateKeyId, byte[] subject,
            long subjectCount, byte[] attributes, long attributeCount, byte[] extensions, long extensionCount)
            throws NativeFailure;

    /** Powers a card down. A failure's code is PC/SC's, its 32 bits. */
    native void resetReader(byte[] name) throws NativeFailure;

    /**
     * Waits until a reader or a card comes or goes. Where what is known is not true any longer, there is no wait.
     *
     * @param names   the names of the readers that are known, and in the same order
     * @param states  what this method told of them
     * @param timeout in milliseconds
     * @return three fields a reader: name, state, the card's answer to reset
     */
    native byte[] awaitReaderChange(byte[][] names, long[] states, long timeout) throws NativeFailure;

    /** Keeps an object for the rest of the process. Returns a name, by which any class loader's copy finds it. */
    native byte[] keepShared(Object object);

    /** Finds a kept object by its name; {@code null} where this process has none of that name. */
    native Object findShared(byte[] name);

    /** What the call had to say: lines, each with its line end; empty when there are none. */
    String diagnostics() {
        return diagnostics;
    }

    /**
     * Called by the natives, where there is something to say or the call failed.
     *
     * @param code  0, or the code that ends the call
     * @param step  the function that failed, {@code C_Login} for instance; {@code null} where none did. "search": no
     *              object was found
     * @param lines the diagnostic lines
     */
    private void report(long code, byte[] step, byte[] lines) throws NativeFailure {
        diagnostics = new String(lines, StandardCharsets.UTF_8);
        if (step != null) {
            throw new NativeFailure(code, new String(step, StandardCharsets.US_ASCII), diagnostics);
        }
    }
}
