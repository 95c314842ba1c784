// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.api;

import java.util.ArrayList;

/**
 * The native methods of {@code libVornixToken_Javalib}: fifteen jobs on a smart-card token, done by the token maker's
 * PKCS #11 module.
 *
 * <p>Every call stands alone. It loads the module, initialises it, finds the token by the name of its reader, does the
 * one job, and finalises and unloads the module again. Nothing is kept between calls.
 *
 * <p><b>Loading.</b> This class does not load the library: the application calls {@link System#load} or
 * {@link System#loadLibrary System.loadLibrary("VornixToken_Javalib")} before the first native method.
 *
 * <p><b>Results.</b> Each method returns a PKCS #11 code, 0 for success. Codes of the module pass through unchanged,
 * all 64 bits of them. Codes that the library itself gives:
 * <ul>
 * <li>1: the module could not be loaded or initialised;</li>
 * <li>6: no reader has this name, or no object was found.</li>
 * </ul>
 * Codes of the module that callers meet most: 0xA0 ({@code CKR_PIN_INCORRECT}), 0xA4 ({@code CKR_PIN_LOCKED}),
 * 0xE0 ({@code CKR_TOKEN_NOT_PRESENT}), 0x102 ({@code CKR_USER_PIN_NOT_INITIALIZED}).
 * What went wrong is also told on the process's standard output, one line a message. No method throws on purpose.
 *
 * <p><b>Functions beyond PKCS #11</b>, which the token maker's module has, serve {@link #loadX509Certificate},
 * {@link #loadCert}, {@link #pkcs7Sign}, {@link #pkcs7Verify} and {@link #createCSR}. Nothing checks that they are
 * there: with another module these methods crash the virtual machine.
 *
 * <p><b>Parameters common to all methods.</b>
 * <ul>
 * <li>{@code terminalName}: the reader that holds the token. A slot matches when its manufacturer or its description,
 * without trailing blanks, begins with this name or is the beginning of it. The last slot that matches is taken.</li>
 * <li>{@code modulePath}: the module's file, as the dynamic loader takes it.</li>
 * <li>Texts reach the module as the JVM's modified UTF-8: U+0000 as the bytes C0 80, a character beyond U+FFFF as its
 * two surrogates, three bytes each.</li>
 * <li>An empty array stands for "none". {@code null} is allowed only where a parameter says so; elsewhere nothing
 * checks for it, and the virtual machine may crash.</li>
 * <li>Output lists are appended to, never cleared, and only when the result is 0. An output may have no bytes.</li>
 * </ul>
 *
 * <p><b>Threads.</b> There is no lock. A process has one instance of a module, and of two calls at the same time the
 * one that ends first finalises it under the other: so make one call at a time.
 */
public final class Pkcs11Wrapper {
    private Pkcs11Wrapper() {
    }

    /**
     * Changes the user PIN.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param oldPin       the user PIN as it is
     * @param newPin       the user PIN as it shall be
     * @return the result; 0xA0 ({@code CKR_PIN_INCORRECT}) for a wrong old PIN
     */
    public static native long setPin(String terminalName, String modulePath, byte[] oldPin, byte[] newPin);

    /**
     * Changes the PUK, the security officer's PIN.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param oldPuk       the PUK as it is
     * @param newPuk       the PUK as it shall be
     * @return the result; 0xA0 ({@code CKR_PIN_INCORRECT}) for a wrong old PUK
     */
    public static native long setPuk(String terminalName, String modulePath, byte[] oldPuk, byte[] newPuk);

    /**
     * Initialises the token under the label "VORNIX Token". All its objects are lost. This library sets no user PIN.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param soPin        the security officer's PIN
     * @return the result; 0xA0 ({@code CKR_PIN_INCORRECT}) for a wrong one
     */
    public static native long initCard(String terminalName, String modulePath, byte[] soPin);

    /**
     * Destroys every object that the user sees. PINs and label stay. An object that cannot be destroyed is skipped.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @return the result for the last object
     */
    public static native long cleanCard(String terminalName, String modulePath, byte[] pin);

    /**
     * Describes the token. Element 0 of each array is set; an array that is {@code null} or empty is
     * skipped. A text ends before its first NUL and has no trailing blanks.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param label        receives the label
     * @param manufacturer receives the manufacturer
     * @param model        receives the model
     * @param serialNumber receives the serial number
     * @param flags        receives the token's flags as 16 lowercase hexadecimal digits
     * @return the result
     */
    public static native long getTokenInfo(String terminalName, String modulePath, String[] label,
            String[] manufacturer, String[] model, String[] serialNumber, String[] flags);

    /**
     * Lists the objects that the user sees. An object that cannot be read is skipped, unless it is the last: then
     * its code is the result.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param objects      receives one element an object, in the module's order
     * @return the result
     */
    public static native long listObjects(String terminalName, String modulePath, byte[] pin,
            ArrayList<Pkcs11ObjectAttribute> objects);

    /**
     * Reads a certificate. Of several that match, the first is taken.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param label        the certificate's label
     * @param id           the certificate's ID; empty: any
     * @param certificate  receives the certificate as stored, DER
     * @return the result; 6 when there is no such certificate
     */
    public static native long getX509Certificate(String terminalName, String modulePath, byte[] pin, String label,
            byte[] id, ArrayList<Byte> certificate);

    /**
     * Reads an RSA public key. Of several that match, the first is taken.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param label        the key's label
     * @param id           the key's ID; empty: any
     * @param modulus      receives the modulus as stored, unsigned and big-endian
     * @param exponent     receives the public exponent likewise; stays as it is when the modulus is empty
     * @return the result; 6 when there is no such key; the module's code when the key is no RSA key, commonly 0x12
     *         ({@code CKR_ATTRIBUTE_TYPE_INVALID})
     */
    public static native long getPublicKey(String terminalName, String modulePath, byte[] pin, String label, byte[] id,
            ArrayList<Byte> modulus, ArrayList<Byte> exponent);

    /**
     * Stores a certificate. Certificates that are on the token already stay.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param label        the new certificate's label
     * @param id           the new certificate's ID; empty: none
     * @param certificate  the certificate, DER
     * @return the result
     */
    public static native long loadX509Certificate(String terminalName, String modulePath, byte[] pin, String label,
            byte[] id, byte[] certificate);

    /**
     * Stores a certificate from two blocks whose meaning the module defines. Unlike elsewhere the PIN comes last.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param first        the first block
     * @param second       the second block
     * @param pin          the user PIN
     * @return the result
     */
    public static native long loadCert(String terminalName, String modulePath, byte[] first, byte[] second,
            byte[] pin);

    /**
     * Generates an RSA key pair with public exponent 65537 on the token. Generating twice makes two pairs.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param modulusBits  the length of the modulus in bits
     * @param label        the label of both keys
     * @param id           the ID of both keys; empty: none
     * @return the result
     */
    public static native long generateKeyPair(String terminalName, String modulePath, byte[] pin, long modulusBits,
            String label, byte[] id);

    /**
     * Generates a GOST R 34.10-2001 key pair on the token, with the module's parameter set.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param label        the label of both keys
     * @param id           the ID of both keys; empty: none
     * @return the result
     */
    public static native long generateGostR3410_2001KeyPair(String terminalName, String modulePath, byte[] pin,
            String label, byte[] id);

    /**
     * Signs data into a PKCS #7 message. Of the further certificates only the last must exist; another that is missing
     * reaches the module as the handle 0.
     *
     * @param terminalName          the reader
     * @param modulePath            the module
     * @param pin                   the user PIN
     * @param data                  what is signed
     * @param certificateId         the ID of the signer's certificate; empty: none named
     * @param keyId                 the ID of the private key; empty: none named
     * @param furtherCertificateIds the IDs of further certificates for the message; {@code null} or empty: none
     * @param flags                 the module's mode word
     * @param signature             receives the message, DER
     * @return the result; 6 when an object is missing; 0x100, with nothing signed, when the user was logged in already
     *         and no certificate is named
     */
    public static native long pkcs7Sign(String terminalName, String modulePath, byte[] pin, byte[] data,
            byte[] certificateId, byte[] keyId, byte[][] furtherCertificateIds, long flags, ArrayList<Byte> signature);

    /**
     * Verifies a PKCS #7 message. Needs no token, only the module, which also defines what the two inputs are.
     *
     * @param modulePath  the module
     * @param firstInput  the first input; may be {@code null}
     * @param secondInput the second input; may be {@code null}
     * @return the module's verdict, 0 for a good signature
     */
    public static native long pkcs7Verify(String modulePath, byte[] firstInput, byte[] secondInput);

    /**
     * Builds a certificate signing request for a key pair of the token. The module defines what the texts mean.
     *
     * @param terminalName the reader
     * @param modulePath   the module
     * @param pin          the user PIN
     * @param publicKeyId  the ID of the public key; empty: none named
     * @param privateKeyId the ID of the private key; empty: none named
     * @param subject      the subject in pairs; {@code null} or empty: none. Texts behind the last whole pair are
     *                     ignored; likewise below
     * @param attributes   the attributes in pairs; {@code null} or empty: none
     * @param extensions   the extensions in triples; {@code null} or empty: none
     * @param request      receives the request, DER
     * @return the result; 6 when a key is missing; 0x100, with no request made, when the user was logged in already and
     *         no public key is named
     */
    public static native long createCSR(String terminalName, String modulePath, byte[] pin, byte[] publicKeyId,
            byte[] privateKeyId, String[] subject, String[] attributes, String[] extensions, ArrayList<Byte> request);
}
