// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.GeneralSecurityException;
import java.security.cert.CertificateEncodingException;
import java.security.cert.CertificateException;
import java.security.cert.X509Certificate;
import java.security.interfaces.RSAPublicKey;
import java.util.Collections;
import java.util.List;
import java.util.Objects;

/**
 * A smart-card token: a PKCS #11 module, and the reader that holds the card.
 *
 * <pre>
 * Token token = new Token(module, reader);
 * try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
 *     token.generateRsaKeyPair(pin, 2048, "my RSA key", new byte[] {1});
 *     token.generateGostKeyPair(pin, "my GOST key", new byte[] {2});
 * }
 * </pre>
 *
 * <p>An object of this class holds nothing open. The methods that take a PIN open a session, do one job and close the
 * session; for several jobs, {@link #open} is faster. The module is loaded and initialised by the first call in the
 * process and stays so until {@link #unload}. A card may be taken out and put in between two calls.
 *
 * <p><b>Failures.</b> When the token refuses a job, the method throws a {@link Pkcs11Exception} with a reason, the
 * PKCS #11 code, the function that failed and the library's diagnostics; nothing is printed. A {@code null} argument
 * causes a {@link NullPointerException} with the parameter's name, unless the method allows {@code null}; a closed PIN
 * causes an {@link IllegalStateException}. In both cases nothing has been sent. A wrong PIN is sent once.
 *
 * <p><b>Threads.</b> All methods may be called by any thread. Jobs on one reader follow one another, across all class
 * loaders; so do all jobs of a module that takes one thread at a time, or that somebody else had initialised. The older
 * natives take no part in this: do not call them on a module that this class uses.
 *
 * <p><b>Modules.</b> Importing, signing, verifying and requesting certificates use functions that the token maker's
 * module has beyond PKCS #11. With a module that does not have them, these methods fail with
 * {@link Reason#UNSUPPORTED}. The system property {@code vornixtoken.vendorFunctions}, {@code true} or {@code false},
 * answers in place of the look into the module.
 *
 * <p><b>Texts</b> are UTF-8. A text with half of a surrogate pair is refused before anything is sent; so is U+0000 in a
 * module's path, in the label of an import and in a request, which the module would take for the end.
 */
public final class Token {
    static final String READING_INFO = "reading token information";
    static final String VERIFYING = "verifying";
    static final String VERIFY = "C_TOVR_pkcs7Verify";

    private final Access access;

    /**
     * Names a token by its reader. Loads this library, but not yet the module.
     *
     * @param modulePath   the PKCS #11 module's file, as the dynamic loader takes it
     * @param terminalName the reader: its whole name, or a beginning that only one reader has. If none has it, the
     *                     manufacturers' names are compared. Only the first 64 bytes count, which a slot has room for.
     * @throws IllegalArgumentException when the reader's name is empty; the message lists the readers
     * @throws UnsatisfiedLinkError     when this library cannot be loaded, see {@link NativeLibrary}
     */
    public Token(String modulePath, String terminalName) {
        this(in(modulePath).reader(Objects.requireNonNull(terminalName, "terminalName")).build().access);
    }

    Token(Access access) {
        this.access = access;
    }

    /**
     * Begins to name a token, for instance by its serial number.
     *
     * @param modulePath the PKCS #11 module's file, as the dynamic loader takes it
     * @return the builder
     */
    public static TokenBuilder in(String modulePath) {
        return new TokenBuilder(modulePath);
    }

    /**
     * Lists a module's readers and describes the tokens in them. Needs no PIN.
     *
     * @param modulePath the PKCS #11 module's file, as the dynamic loader takes it
     * @return the readers in the module's order
     * @throws Pkcs11Exception      when the module refuses
     * @throws UnsatisfiedLinkError when this library cannot be loaded
     */
    public static List<Reader> readers(String modulePath) throws Pkcs11Exception {
        return Collections.unmodifiableList(on(modulePath).readers());
    }

    /**
     * Tells whether a module has the functions beyond PKCS #11 that importing, signing, verifying and requesting
     * certificates need. Needs no PIN.
     *
     * @param modulePath the PKCS #11 module's file, as the dynamic loader takes it
     * @return whether it has them all
     * @throws Pkcs11Exception      when the module cannot be loaded or initialised
     * @throws UnsatisfiedLinkError when this library cannot be loaded
     */
    public static boolean hasVendorFunctions(String modulePath) throws Pkcs11Exception {
        return on(modulePath).hasVendorFunctions();
    }

    /**
     * Finalises and unloads a module that no session uses, and that others did not initialise. The next call loads it
     * again. Whoever else uses the module in this process, the JDK's provider for instance, loses it.
     *
     * @param modulePath the PKCS #11 module's file, as it was named before; if it is not loaded, nothing happens
     * @throws Pkcs11Exception      when a session is open or a job runs, with {@link Reason#IN_USE}
     * @throws UnsatisfiedLinkError when this library cannot be loaded
     */
    public static void unload(String modulePath) throws Pkcs11Exception {
        on(modulePath).unload();
    }

    /**
     * Finds the reader that is chosen, and describes it and the token in it. Needs no PIN.
     *
     * @return the reader
     * @throws Pkcs11Exception when there is none, or more than one
     */
    public Reader findReader() throws Pkcs11Exception {
        return access.reader();
    }

    /**
     * Opens a session and logs in, for many jobs.
     *
     * @param pin the user PIN; not needed any more when this method returns
     * @return the session
     * @throws Pkcs11Exception when the token refuses
     */
    public TokenSession open(Pin pin) throws Pkcs11Exception {
        return access.open(pin);
    }

    /**
     * Changes the user PIN.
     *
     * @param oldPin the PIN as it is
     * @param newPin the PIN as it shall be
     * @throws Pkcs11Exception when the token refuses
     */
    public void changePin(Pin oldPin, Pin newPin) throws Pkcs11Exception {
        access.once(oldPin, "oldPin", NativeSession.USER, Jobs.changePin("PIN", oldPin, "oldPin", newPin, "newPin"));
    }

    /**
     * Changes the PUK, the security officer's PIN.
     *
     * @param oldPuk the PUK as it is
     * @param newPuk the PUK as it shall be
     * @throws Pkcs11Exception when the token refuses
     */
    public void changePuk(Pin oldPuk, Pin newPuk) throws Pkcs11Exception {
        access.once(oldPuk, "oldPuk", NativeSession.SECURITY_OFFICER,
                Jobs.changePin("PUK", oldPuk, "oldPuk", newPuk, "newPuk"));
    }

    /**
     * Initialises the token under the label "VORNIX Token". All its objects are lost. The
     * module decides which user PIN it has then; by PKCS #11 it has none.
     *
     * @param puk the security officer's PIN
     * @throws Pkcs11Exception when the token refuses
     */
    public void initialize(Pin puk) throws Pkcs11Exception {
        Objects.requireNonNull(puk, "puk");
        access.call(() -> "initialising the token", (natives, module, slot) -> puk.lend(code -> {
            natives.initializeToken(module, slot, code);
            return null;
        }));
    }

    /**
     * Destroys every object that the user sees. PINs and label stay. An object that cannot be destroyed is skipped
     * without an exception unless it is the last one: {@link #listObjects} tells what is left.
     *
     * @param pin the user PIN
     * @throws Pkcs11Exception when the token refuses, or when its last object cannot be destroyed; other objects are
     *                         gone all the same
     */
    public void clean(Pin pin) throws Pkcs11Exception {
        once(pin, Jobs.clean());
    }

    /**
     * Describes the token. Needs no PIN.
     *
     * @return what it tells
     * @throws Pkcs11Exception when there is no such token
     */
    public TokenInfo readInfo() throws Pkcs11Exception {
        return access.call(() -> READING_INFO, Token::info);
    }

    /**
     * Lists the token's objects.
     *
     * @param pin the user PIN
     * @return the objects in the module's order; those that cannot be read are left out
     * @throws Pkcs11Exception when the token refuses, or when its last object cannot be read
     */
    public List<TokenObject> listObjects(Pin pin) throws Pkcs11Exception {
        return once(pin, Jobs.listObjects());
    }

    /**
     * Lists the token's certificates and tells whether their private keys are there.
     *
     * @param pin the user PIN
     * @return the certificates in the module's order, among them those that are no X.509 certificates
     * @throws Pkcs11Exception when the token refuses
     */
    public List<TokenCertificate> listCertificates(Pin pin) throws Pkcs11Exception {
        return once(pin, Jobs.listCertificates());
    }

    /**
     * Reads the first certificate with a label.
     *
     * @param pin   the user PIN
     * @param label the certificate's label
     * @return the certificate
     * @throws Pkcs11Exception      when the token refuses or has no such certificate
     * @throws CertificateException when what the token holds is no X.509 certificate
     */
    public X509Certificate readCertificate(Pin pin, String label) throws Pkcs11Exception, CertificateException {
        return readCertificate(pin, label, Jobs.NO_ID);
    }

    /**
     * Reads the first certificate with a label and an ID.
     *
     * @param pin   the user PIN
     * @param label the certificate's label
     * @param id    the certificate's ID; empty: any
     * @return the certificate
     * @throws Pkcs11Exception      when the token refuses or has no such certificate
     * @throws CertificateException when what the token holds is no X.509 certificate
     */
    public X509Certificate readCertificate(Pin pin, String label, byte[] id)
            throws Pkcs11Exception, CertificateException {
        return Jobs.certificate(readCertificateBytes(pin, label, id));
    }

    /**
     * Reads the first certificate with a label and an ID as the token holds it. Nothing is checked, and bytes
     * behind the certificate, such as the padding of a file on the card, are not cut off.
     *
     * @param pin   the user PIN
     * @param label the certificate's label
     * @param id    the certificate's ID; empty: any
     * @return the certificate's bytes
     * @throws Pkcs11Exception when the token refuses or has no such certificate
     */
    public byte[] readCertificateBytes(Pin pin, String label, byte[] id) throws Pkcs11Exception {
        return once(pin, Jobs.readCertificate(label, id));
    }

    /**
     * Reads the first RSA public key with a label.
     *
     * @param pin   the user PIN
     * @param label the key's label
     * @return the key
     * @throws Pkcs11Exception          when the token refuses or has no such key
     * @throws GeneralSecurityException when what the token holds makes no RSA key
     */
    public RSAPublicKey readPublicKey(Pin pin, String label) throws GeneralSecurityException {
        return readPublicKey(pin, label, Jobs.NO_ID);
    }

    /**
     * Reads the first RSA public key with a label and an ID.
     *
     * @param pin   the user PIN
     * @param label the key's label
     * @param id    the key's ID; empty: any
     * @return the key
     * @throws Pkcs11Exception          when the token refuses or has no such key
     * @throws GeneralSecurityException when what the token holds makes no RSA key
     */
    public RSAPublicKey readPublicKey(Pin pin, String label, byte[] id) throws GeneralSecurityException {
        return Jobs.publicKey(once(pin, Jobs.readPublicKey(label, id)));
    }

    /**
     * Stores a certificate. One that is there already stays beside it.
     *
     * @param pin         the user PIN
     * @param label       the label that it gets
     * @param id          the ID that it gets, commonly its key's; empty: none
     * @param certificate the certificate
     * @throws Pkcs11Exception              when the token refuses
     * @throws CertificateEncodingException when the certificate cannot be encoded
     */
    public void importCertificate(Pin pin, String label, byte[] id, X509Certificate certificate)
            throws Pkcs11Exception, CertificateEncodingException {
        Objects.requireNonNull(certificate, "certificate");
        importCertificate(pin, label, id, certificate.getEncoded());
    }

    /**
     * Stores a certificate. One that is there already stays beside it.
     *
     * @param pin         the user PIN
     * @param label       the label that it gets
     * @param id          the ID that it gets, commonly its key's; empty: none
     * @param certificate the certificate's bytes, DER
     * @throws Pkcs11Exception when the token refuses
     */
    public void importCertificate(Pin pin, String label, byte[] id, byte[] certificate) throws Pkcs11Exception {
        once(pin, Jobs.importCertificate(label, id, certificate));
    }

    /**
     * Stores a certificate from two blocks whose meaning the module defines.
     *
     * @param pin    the user PIN
     * @param first  the first block
     * @param second the second block
     * @throws Pkcs11Exception when the token refuses
     */
    public void importCertificateBlocks(Pin pin, byte[] first, byte[] second) throws Pkcs11Exception {
        once(pin, Jobs.importBlocks(first, second));
    }

    /**
     * Generates an RSA key pair with public exponent 65537 on the token. Pairs with the same label stay beside it.
     *
     * @param pin         the user PIN
     * @param modulusBits the length of the modulus in bits
     * @param label       the label of both keys
     * @param id          the ID of both keys; empty: none
     * @throws Pkcs11Exception when the token refuses
     */
    public void generateRsaKeyPair(Pin pin, int modulusBits, String label, byte[] id) throws Pkcs11Exception {
        once(pin, Jobs.generateRsaKeyPair(modulusBits, label, id));
    }

    /**
     * Generates a GOST R 34.10-2001 key pair on the token, with the module's parameter set.
     *
     * @param pin   the user PIN
     * @param label the label of both keys
     * @param id    the ID of both keys; empty: none
     * @throws Pkcs11Exception when the token refuses
     */
    public void generateGostKeyPair(Pin pin, String label, byte[] id) throws Pkcs11Exception {
        once(pin, Jobs.generateGostKeyPair(label, id));
    }

    /**
     * Signs data into a PKCS #7 message.
     *
     * @param pin                   the user PIN
     * @param data                  what is signed
     * @param certificateId         the ID of the signer's certificate; empty: none named
     * @param privateKeyId          the ID of the private key; empty: none named
     * @param flags                 the module's mode word
     * @param furtherCertificateIds the IDs of certificates that go into the message too; only the last of them must
     *                              exist
     * @return the message, DER; zeros that the module leaves behind it are cut off
     * @throws Pkcs11Exception when the token refuses or nothing was signed
     */
    public byte[] sign(Pin pin, byte[] data, byte[] certificateId, byte[] privateKeyId, long flags,
            byte[]... furtherCertificateIds) throws Pkcs11Exception {
        return once(pin, Jobs.sign(data, certificateId, privateKeyId, flags, furtherCertificateIds));
    }

    /**
     * Verifies a PKCS #7 message by the module alone, without a token. Returns normally when it is good.
     *
     * @param firstInput  the first input of the module's verification, commonly the message; may be {@code null}
     * @param secondInput the second input, commonly the content of a message that lacks it; may be {@code null}
     * @throws Pkcs11Exception when the message is bad or cannot be judged
     */
    public void verify(byte[] firstInput, byte[] secondInput) throws Pkcs11Exception {
        verify(access, firstInput, secondInput);
    }

    /**
     * Verifies a PKCS #7 message by a module alone. Returns normally when it is good.
     *
     * @param modulePath  the PKCS #11 module's file, as the dynamic loader takes it
     * @param firstInput  the first input of the module's verification, commonly the message; may be {@code null}
     * @param secondInput the second input, commonly the content of a message that lacks it; may be {@code null}
     * @throws Pkcs11Exception      when the message is bad or cannot be judged
     * @throws UnsatisfiedLinkError when this library cannot be loaded
     */
    public static void verify(String modulePath, byte[] firstInput, byte[] secondInput) throws Pkcs11Exception {
        verify(on(modulePath), firstInput, secondInput);
    }

    /**
     * Builds a certificate signing request for a key pair of the token.
     *
     * @param pin          the user PIN
     * @param publicKeyId  the ID of the public key; empty: none named
     * @param privateKeyId the ID of the private key; empty: none named
     * @param content      what the request says beside the key
     * @return the request, DER; zeros that the module leaves behind it are cut off
     * @throws Pkcs11Exception when the token refuses or no request was made
     */
    public byte[] createRequest(Pin pin, byte[] publicKeyId, byte[] privateKeyId, RequestContent content)
            throws Pkcs11Exception {
        return once(pin, Jobs.createRequest(publicKeyId, privateKeyId, content));
    }

    /**
     * Powers a card down through the PC/SC service, so that its next user gets a freshly powered one. Waits until no
     * job of this library works with the reader. Open sessions on the card end with {@link Reason#REMOVED}.
     *
     * @param readerName the reader's full name
     * @throws IllegalArgumentException when the name is empty
     * @throws Pkcs11Exception          when the service refuses, with its code
     * @throws UnsatisfiedLinkError     when this library cannot be loaded
     */
    public static void resetTerminal(String readerName) throws Pkcs11Exception {
        if (Objects.requireNonNull(readerName, "readerName").isEmpty()) {
            throw new IllegalArgumentException("readerName is empty");
        }
        NativeLibrary.loadSessions();
        Access.resetReader(readerName);
    }

    /** Tells whether the other names the same module and the same token by the same words. */
    @Override
    public boolean equals(Object other) {
        return other instanceof Token && access.equals(((Token) other).access);
    }

    @Override
    public int hashCode() {
        return access.hashCode();
    }

    /** Returns module and token. */
    @Override
    public String toString() {
        return access.toString();
    }

    static TokenInfo info(NativeCall natives, long module, long slot) throws NativeFailure {
        Fields fields = new Fields(natives.tokenInfo(module, slot));
        return new TokenInfo(fields.text(), fields.text(), fields.text(), fields.text(), fields.text());
    }

    private <T> T once(Pin pin, Job<T> job) throws Pkcs11Exception {
        return access.once(pin, "pin", NativeSession.USER, job);
    }

    private static void verify(Access access, byte[] firstInput, byte[] secondInput) throws Pkcs11Exception {
        access.call(() -> VERIFYING, VERIFY,
                (natives, module) -> natives.verify(module, firstInput, secondInput));
    }

    private static Access on(String modulePath) {
        Objects.requireNonNull(modulePath, "modulePath");
        NativeLibrary.loadSessions();
        return new Access(modulePath, null, Attempt.Manner.DEFAULT);
    }
}
