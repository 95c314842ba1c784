// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;
import com.tovr.smartcard.vornixtoken.utils.PcscUtils;

import java.io.ByteArrayInputStream;
import java.math.BigInteger;
import java.security.GeneralSecurityException;
import java.security.KeyFactory;
import java.security.cert.CertificateEncodingException;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.RSAPublicKeySpec;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Objects;
import java.util.function.LongSupplier;
import java.util.function.ToLongFunction;
import java.util.stream.Collectors;

/**
 * A smart-card token: a PKCS #11 module, and the name of the reader that holds the card.
 *
 * <pre>
 * Token token = new Token("/usr/lib/libtovr_pkcs11_main.so", "Reader 0");
 * try (Pin pin = Pin.of(System.console().readPassword("PIN: "))) {
 *     X509Certificate certificate = token.readCertificate(pin, "my certificate");
 * }
 * </pre>
 *
 * <p>An object of this class holds nothing open. Every method loads and initialises the module, finds the token, does
 * its job and unloads the module again, so a card may be taken out and put in between two of them.
 *
 * <p><b>Failures.</b> When the token refuses a job, the method throws a {@link Pkcs11Exception} with the PKCS #11 code.
 * The library writes details to the process's standard output. A {@code null} argument causes a
 * {@link NullPointerException} with the parameter's name, unless the method allows {@code null}; a closed PIN causes an
 * {@link IllegalStateException}. In both cases nothing has been sent.
 *
 * <p><b>Threads.</b> All methods of all objects may be called by any thread. They wait for one another on one lock:
 * the process has only one instance of a module, and of two jobs at once the first to end would finalise it under the
 * other. Direct calls of the native methods do not take the lock.
 *
 * <p><b>Modules.</b> Importing, signing, verifying and requesting certificates use functions that the token maker's
 * module has beyond PKCS #11. Nothing checks that they are there: with another module the virtual machine crashes.
 *
 * <p><b>Texts.</b> Labels and the texts of requests reach the token in the virtual machine's modified UTF-8. For
 * characters up to U+FFFF, except U+0000, that is UTF-8. All others come back as they were given, but look odd to other
 * applications. A module with such a character in its path is not found.
 */
public final class Token {
    /** Interned, so all class loaders of the process share it, as they share the module. */
    private static final Object LOCK = "com.tovr.smartcard.vornixtoken.Token.LOCK".intern();
    private static final byte[] NO_ID = {};

    private final String modulePath;
    private final String terminalName;

    /**
     * Names a token. Loads this library, but not yet the module.
     *
     * @param modulePath   the PKCS #11 module's file, as the dynamic loader takes it
     * @param terminalName the reader. A slot matches when its manufacturer or its description, without trailing blanks,
     *                     begins with this name or is the beginning of it, so "Reader 1" also matches
     *                     "Reader 10". The module's last slot that matches is taken. Give the name in full.
     * @throws IllegalArgumentException when the reader's name is empty, which would match any reader
     * @throws UnsatisfiedLinkError     when this library cannot be loaded, see {@link NativeLibrary}
     */
    public Token(String modulePath, String terminalName) {
        this.modulePath = Objects.requireNonNull(modulePath, "modulePath");
        this.terminalName = notEmpty(terminalName, "terminalName");
        NativeLibrary.load();
    }

    /**
     * Changes the user PIN.
     *
     * @param oldPin the PIN as it is
     * @param newPin the PIN as it shall be
     * @throws Pkcs11Exception when the token refuses
     */
    public void changePin(Pin oldPin, Pin newPin) throws Pkcs11Exception {
        Objects.requireNonNull(oldPin, "oldPin");
        Objects.requireNonNull(newPin, "newPin");
        run("changing the PIN", oldPin,
                from -> newPin.lend(to -> Pkcs11Wrapper.setPin(terminalName, modulePath, from, to)));
    }

    /**
     * Changes the PUK, the security officer's PIN.
     *
     * @param oldPuk the PUK as it is
     * @param newPuk the PUK as it shall be
     * @throws Pkcs11Exception when the token refuses
     */
    public void changePuk(Pin oldPuk, Pin newPuk) throws Pkcs11Exception {
        Objects.requireNonNull(oldPuk, "oldPuk");
        Objects.requireNonNull(newPuk, "newPuk");
        run("changing the PUK", oldPuk,
                from -> newPuk.lend(to -> Pkcs11Wrapper.setPuk(terminalName, modulePath, from, to)));
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
        run("initialising the token", puk, code -> Pkcs11Wrapper.initCard(terminalName, modulePath, code));
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
        Objects.requireNonNull(pin, "pin");
        run("cleaning the token", pin, code -> Pkcs11Wrapper.cleanCard(terminalName, modulePath, code));
    }

    /**
     * Describes the token. Needs no PIN.
     *
     * @return what it tells
     * @throws Pkcs11Exception when there is no such token
     */
    public TokenInfo readInfo() throws Pkcs11Exception {
        String[] label = new String[1];
        String[] manufacturer = new String[1];
        String[] model = new String[1];
        String[] serialNumber = new String[1];
        String[] flags = new String[1];
        run("reading token information", () -> Pkcs11Wrapper.getTokenInfo(terminalName, modulePath, label, manufacturer,
                model, serialNumber, flags));
        return new TokenInfo(label[0], manufacturer[0], model[0], serialNumber[0], flags[0]);
    }

    /**
     * Lists the token's objects.
     *
     * @param pin the user PIN
     * @return the objects in the module's order; those that cannot be read are left out
     * @throws Pkcs11Exception when the token refuses, or when its last object cannot be read
     */
    public List<TokenObject> listObjects(Pin pin) throws Pkcs11Exception {
        Objects.requireNonNull(pin, "pin");
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        run("listing objects", pin, code -> Pkcs11Wrapper.listObjects(terminalName, modulePath, code, objects));
        return Collections.unmodifiableList(objects.stream().map(TokenObject::new).collect(Collectors.toList()));
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
        return readCertificate(pin, label, NO_ID);
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
        return (X509Certificate) CertificateFactory.getInstance("X.509")
                .generateCertificate(new ByteArrayInputStream(readCertificateBytes(pin, label, id)));
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        ArrayList<Byte> certificate = new ArrayList<>();
        return deliver("reading certificate '" + label + "'", pin, certificate,
                code -> Pkcs11Wrapper.getX509Certificate(terminalName, modulePath, code, label, id, certificate));
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
        return readPublicKey(pin, label, NO_ID);
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        ArrayList<Byte> modulus = new ArrayList<>();
        ArrayList<Byte> exponent = new ArrayList<>();
        byte[] magnitude = deliver("reading public key '" + label + "'", pin, modulus,
                code -> Pkcs11Wrapper.getPublicKey(terminalName, modulePath, code, label, id, modulus, exponent));
        return (RSAPublicKey) KeyFactory.getInstance("RSA").generatePublic(
                new RSAPublicKeySpec(new BigInteger(1, magnitude), new BigInteger(1, bytes(exponent))));
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        Objects.requireNonNull(certificate, "certificate");
        run("importing certificate '" + label + "'", pin,
                code -> Pkcs11Wrapper.loadX509Certificate(terminalName, modulePath, code, label, id, certificate));
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(first, "first");
        Objects.requireNonNull(second, "second");
        run("importing a certificate of two blocks", pin,
                code -> Pkcs11Wrapper.loadCert(terminalName, modulePath, first, second, code));
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        run("generating RSA key pair '" + label + "'", pin,
                code -> Pkcs11Wrapper.generateKeyPair(terminalName, modulePath, code, modulusBits, label, id));
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        run("generating GOST key pair '" + label + "'", pin,
                code -> Pkcs11Wrapper.generateGostR3410_2001KeyPair(terminalName, modulePath, code, label, id));
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(data, "data");
        Objects.requireNonNull(certificateId, "certificateId");
        Objects.requireNonNull(privateKeyId, "privateKeyId");
        Objects.requireNonNull(furtherCertificateIds, "furtherCertificateIds");
        for (byte[] id : furtherCertificateIds) {
            Objects.requireNonNull(id, "furtherCertificateIds");
        }
        ArrayList<Byte> message = new ArrayList<>();
        return Der.withoutPadding(deliver("signing", pin, message,
                code -> Pkcs11Wrapper.pkcs7Sign(terminalName, modulePath, code, data, certificateId, privateKeyId,
                        furtherCertificateIds, flags, message)));
    }

    /**
     * Verifies a PKCS #7 message by the module alone, without a token. Returns normally when it is good.
     *
     * @param firstInput  the first input of the module's verification, commonly the message; may be {@code null}
     * @param secondInput the second input, commonly the content of a message that lacks it; may be {@code null}
     * @throws Pkcs11Exception when the message is bad or cannot be judged
     */
    public void verify(byte[] firstInput, byte[] secondInput) throws Pkcs11Exception {
        verify(modulePath, firstInput, secondInput);
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
        Objects.requireNonNull(modulePath, "modulePath");
        NativeLibrary.load();
        check(locked(() -> Pkcs11Wrapper.pkcs7Verify(modulePath, firstInput, secondInput)),
                "verifying, module " + modulePath);
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
        Objects.requireNonNull(pin, "pin");
        Objects.requireNonNull(publicKeyId, "publicKeyId");
        Objects.requireNonNull(privateKeyId, "privateKeyId");
        Objects.requireNonNull(content, "content");
        String[] subject = content.subject();
        String[] attributes = content.attributes();
        String[] extensions = content.extensions();
        ArrayList<Byte> request = new ArrayList<>();
        return Der.withoutPadding(deliver("creating a certificate request", pin, request,
                code -> Pkcs11Wrapper.createCSR(terminalName, modulePath, code, publicKeyId, privateKeyId, subject,
                        attributes, extensions, request)));
    }

    /**
     * Powers a card down through the PC/SC service, so that its next user gets a freshly powered one. A failure is
     * told on standard output only.
     *
     * @param readerName the reader's full name
     * @throws IllegalArgumentException when the name is empty
     * @throws UnsatisfiedLinkError     when this library cannot be loaded
     */
    public static void resetTerminal(String readerName) {
        notEmpty(readerName, "readerName");
        NativeLibrary.load();
        locked(() -> {
            PcscUtils.resetTerminal(readerName);
            return ReturnCodes.OK;
        });
    }

    /** Tells whether the other has the same module path and the same reader name. */
    @Override
    public boolean equals(Object other) {
        return other instanceof Token && modulePath.equals(((Token) other).modulePath)
                && terminalName.equals(((Token) other).terminalName);
    }

    @Override
    public int hashCode() {
        return Objects.hash(modulePath, terminalName);
    }

    /** Returns module and reader. */
    @Override
    public String toString() {
        return "token in reader '" + terminalName + "' of module " + modulePath;
    }

    private void run(String action, LongSupplier job) throws Pkcs11Exception {
        check(locked(job), action + ", " + this);
    }

    private void run(String action, Pin pin, ToLongFunction<byte[]> job) throws Pkcs11Exception {
        run(action, () -> pin.lend(job));
    }

    private byte[] deliver(String action, Pin pin, List<Byte> output, ToLongFunction<byte[]> job)
            throws Pkcs11Exception {
        run(action, pin, job);
        if (output.isEmpty()) {
            throw new Pkcs11Exception(ReturnCodes.OK, action + ", " + this);
        }
        return bytes(output);
    }

    static void check(long code, String action) throws Pkcs11Exception {
        if (code != ReturnCodes.OK) {
            throw new Pkcs11Exception(code, action);
        }
    }

    private static String notEmpty(String name, String parameter) {
        if (Objects.requireNonNull(name, parameter).isEmpty()) {
            throw new IllegalArgumentException(parameter + " is empty");
        }
        return name;
    }

    private static long locked(LongSupplier job) {
        synchronized (LOCK) {
            return job.getAsLong();
        }
    }

    private static byte[] bytes(List<Byte> list) {
        byte[] bytes = new byte[list.size()];
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] = list.get(i);
        }
        return bytes;
    }
}
