// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.GeneralSecurityException;
import java.security.cert.CertificateEncodingException;
import java.security.cert.CertificateException;
import java.security.cert.X509Certificate;
import java.security.interfaces.RSAPublicKey;
import java.util.List;

/**
 * An open token, logged in, for many jobs with one PIN. {@link Token#open} makes it:
 *
 * <pre>
 * try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
 *         TokenSession session = token.open(pin)) {
 *     for (TokenCertificate certificate : session.listCertificates()) {
 *         System.out.println(certificate.getLabel() + ": "
 *                 + certificate.getSubject().orElse("no X.509 certificate")
 *                 + (certificate.hasPrivateKey() ? ", with its private key" : ""));
 *     }
 *     System.out.println(session.listObjects().size() + " objects");
 * }
 * </pre>
 *
 * <p>Any thread may use it and close it. Jobs on the same reader follow one another in the order in which they came,
 * across all sessions and class loaders; a job waits no longer than the token allows, see
 * {@link TokenBuilder#waitingAtMost}.
 *
 * <p><b>Its end.</b> When the card is taken out or reset, when somebody else in the process calls {@code C_Logout}, or
 * finalises the module, the job that meets this fails with {@link Reason#REMOVED}, and so does each later one. Then
 * {@link Token#open} makes a new session. A job on a closed session causes an {@link IllegalStateException}. After a
 * {@code C_Logout} a token still shows its public objects, and a module may remember those of a card that is out. So a
 * listing, a search and {@link #clean} ask for login and card; what is left is neither returned as the whole nor
 * destroyed.
 *
 * <p><b>The login belongs to the process.</b> While this session is open, whatever else opens the same token, through
 * this library or not, finds the login there, and its PIN is not looked at. A job that the token allows only without
 * sessions, its initialisation for instance, fails meanwhile with {@link Reason#IN_USE}.
 *
 * <p>Applications may implement this interface for their tests; later versions may add methods to it.
 */
public interface TokenSession extends AutoCloseable {
    /**
     * Describes the token.
     *
     * @return what it tells
     * @throws Pkcs11Exception when it does not
     */
    TokenInfo readInfo() throws Pkcs11Exception;

    /**
     * Changes the user PIN.
     *
     * @param oldPin the PIN as it is
     * @param newPin the PIN as it shall be
     * @throws Pkcs11Exception when the token refuses
     */
    void changePin(Pin oldPin, Pin newPin) throws Pkcs11Exception;

    /**
     * Destroys every object that the user sees. PINs and label stay. An object that cannot be destroyed is skipped
     * without an exception unless it is the last one: {@link #listObjects} tells what is left.
     *
     * @throws Pkcs11Exception when the token refuses, or when its last object cannot be destroyed; other objects are
     *                         gone all the same
     */
    void clean() throws Pkcs11Exception;

    /**
     * Lists the token's objects.
     *
     * @return the objects in the module's order; those that cannot be read are left out
     * @throws Pkcs11Exception when the token refuses, or when its last object cannot be read
     */
    List<TokenObject> listObjects() throws Pkcs11Exception;

    /**
     * Lists the token's certificates and tells whether their private keys are there.
     *
     * @return the certificates in the module's order, among them those that are no X.509 certificates
     * @throws Pkcs11Exception when the token refuses
     */
    List<TokenCertificate> listCertificates() throws Pkcs11Exception;

    /**
     * Reads the first certificate with a label.
     *
     * @param label the certificate's label
     * @return the certificate
     * @throws Pkcs11Exception      when the token refuses or has no such certificate
     * @throws CertificateException when what the token holds is no X.509 certificate
     */
    default X509Certificate readCertificate(String label) throws Pkcs11Exception, CertificateException {
        return readCertificate(label, new byte[0]);
    }

    /**
     * Reads the first certificate with a label and an ID.
     *
     * @param label the certificate's label
     * @param id    the certificate's ID; empty: any
     * @return the certificate
     * @throws Pkcs11Exception      when the token refuses or has no such certificate
     * @throws CertificateException when what the token holds is no X.509 certificate
     */
    X509Certificate readCertificate(String label, byte[] id) throws Pkcs11Exception, CertificateException;

    /**
     * Reads the first certificate with a label and an ID as the token holds it. Nothing is checked, and bytes behind
     * the certificate, such as the padding of a file on the card, are not cut off.
     *
     * @param label the certificate's label
     * @param id    the certificate's ID; empty: any
     * @return the certificate's bytes
     * @throws Pkcs11Exception when the token refuses or has no such certificate
     */
    byte[] readCertificateBytes(String label, byte[] id) throws Pkcs11Exception;

    /**
     * Reads the first RSA public key with a label.
     *
     * @param label the key's label
     * @return the key
     * @throws Pkcs11Exception          when the token refuses or has no such key
     * @throws GeneralSecurityException when what the token holds makes no RSA key
     */
    default RSAPublicKey readPublicKey(String label) throws GeneralSecurityException {
        return readPublicKey(label, new byte[0]);
    }

    /**
     * Reads the first RSA public key with a label and an ID.
     *
     * @param label the key's label
     * @param id    the key's ID; empty: any
     * @return the key
     * @throws Pkcs11Exception          when the token refuses or has no such key
     * @throws GeneralSecurityException when what the token holds makes no RSA key
     */
    RSAPublicKey readPublicKey(String label, byte[] id) throws GeneralSecurityException;

    /**
     * Stores a certificate. One that is there already stays beside it.
     *
     * @param label       the label that it gets
     * @param id          the ID that it gets, commonly its key's; empty: none
     * @param certificate the certificate
     * @throws Pkcs11Exception              when the token refuses
     * @throws CertificateEncodingException when the certificate cannot be encoded
     */
    void importCertificate(String label, byte[] id, X509Certificate certificate)
            throws Pkcs11Exception, CertificateEncodingException;

    /**
     * Stores a certificate. One that is there already stays beside it.
     *
     * @param label       the label that it gets
     * @param id          the ID that it gets, commonly its key's; empty: none
     * @param certificate the certificate's bytes, DER
     * @throws Pkcs11Exception when the token refuses
     */
    void importCertificate(String label, byte[] id, byte[] certificate) throws Pkcs11Exception;

    /**
     * Stores a certificate from two blocks whose meaning the module defines.
     *
     * @param first  the first block
     * @param second the second block
     * @throws Pkcs11Exception when the token refuses
     */
    void importCertificateBlocks(byte[] first, byte[] second) throws Pkcs11Exception;

    /**
     * Generates an RSA key pair with public exponent 65537 on the token. Pairs with the same label stay beside it.
     *
     * @param modulusBits the length of the modulus in bits
     * @param label       the label of both keys
     * @param id          the ID of both keys; empty: none
     * @throws Pkcs11Exception when the token refuses
     */
    void generateRsaKeyPair(int modulusBits, String label, byte[] id) throws Pkcs11Exception;

    /**
     * Generates a GOST R 34.10-2001 key pair on the token, with the module's parameter set.
     *
     * @param label the label of both keys
     * @param id    the ID of both keys; empty: none
     * @throws Pkcs11Exception when the token refuses
     */
    void generateGostKeyPair(String label, byte[] id) throws Pkcs11Exception;

    /**
     * Signs data into a PKCS #7 message.
     *
     * @param data                  what is signed
     * @param certificateId         the ID of the signer's certificate; empty: none named
     * @param privateKeyId          the ID of the private key; empty: none named
     * @param flags                 the module's mode word
     * @param furtherCertificateIds the IDs of certificates that go into the message too; only the last of them must
     *                              exist
     * @return the message, DER; zeros that the module leaves behind it are cut off
     * @throws Pkcs11Exception when the token refuses or nothing was signed
     */
    byte[] sign(byte[] data, byte[] certificateId, byte[] privateKeyId, long flags, byte[]... furtherCertificateIds)
            throws Pkcs11Exception;

    /**
     * Signs data into a PKCS #7 message with the certificate and the key of one ID.
     *
     * @param data what is signed
     * @param id   the ID of the signer's certificate and private key
     * @param mode whether the message holds the data
     * @return the message, DER; zeros that the module leaves behind it are cut off
     * @throws Pkcs11Exception when the token refuses or nothing was signed
     */
    default byte[] sign(byte[] data, ObjectId id, SignatureMode mode) throws Pkcs11Exception {
        return sign(data, id.getBytes(), id.getBytes(), mode.getWord());
    }

    /**
     * Verifies a PKCS #7 message. Returns normally when it is good.
     *
     * @param firstInput  the first input of the module's verification, commonly the message; may be {@code null}
     * @param secondInput the second input, commonly the content of a message that lacks it; may be {@code null}
     * @throws Pkcs11Exception when the message is bad or cannot be judged
     */
    void verify(byte[] firstInput, byte[] secondInput) throws Pkcs11Exception;

    /**
     * Builds a certificate signing request for a key pair of the token.
     *
     * @param publicKeyId  the ID of the public key; empty: none named
     * @param privateKeyId the ID of the private key; empty: none named
     * @param content      what the request says beside the key
     * @return the request, DER; zeros that the module leaves behind it are cut off
     * @throws Pkcs11Exception when the token refuses or no request was made
     */
    byte[] createRequest(byte[] publicKeyId, byte[] privateKeyId, RequestContent content) throws Pkcs11Exception;

    /**
     * Builds a certificate signing request for a key pair of one ID.
     *
     * @param id      the ID of both keys
     * @param content what the request says beside the key
     * @return the request, DER; zeros that the module leaves behind it are cut off
     * @throws Pkcs11Exception when the token refuses or no request was made
     */
    default byte[] createRequest(ObjectId id, RequestContent content) throws Pkcs11Exception {
        return createRequest(id.getBytes(), id.getBytes(), content);
    }

    /**
     * Tells whether the session was neither closed nor found to have ended. Asks nobody.
     *
     * @return whether a job may be tried
     */
    boolean isOpen();

    /**
     * Closes the session. With the last session of a token in the process, its login ends. A second call does nothing.
     *
     * @throws Pkcs11Exception when other threads kept the token busy for too long; another call tries again
     */
    @Override
    void close() throws Pkcs11Exception;
}
