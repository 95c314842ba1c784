// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.cert.CertificateException;
import java.security.cert.X509Certificate;
import java.time.Instant;
import java.util.Arrays;
import java.util.Objects;
import java.util.Optional;

/** One certificate of a token. What the token holds may be no X.509 certificate; then only its bytes are known. */
public final class TokenCertificate {
    private final String label;
    private final byte[] id;
    private final byte[] encoded;
    private final boolean privateKey;
    private final X509Certificate certificate;

    TokenCertificate(String label, byte[] id, byte[] encoded, boolean privateKey) {
        this.label = label;
        this.id = id;
        this.encoded = encoded;
        this.privateKey = privateKey;
        certificate = parsed(encoded);
    }

    private static X509Certificate parsed(byte[] encoded) {
        try {
            return encoded.length == 0 ? null : Jobs.certificate(encoded);
        } catch (CertificateException | RuntimeException noCertificate) {
            return null;
        }
    }

    /**
     * Returns the label.
     *
     * @return the label, empty when there is none
     */
    public String getLabel() {
        return label;
    }

    /**
     * Returns the ID, which its private key has too.
     *
     * @return the ID, empty when there is none
     */
    public byte[] getId() {
        return id.clone();
    }

    /**
     * Tells whether the token has the private key.
     *
     * @return whether a private key has the certificate's ID
     */
    public boolean hasPrivateKey() {
        return privateKey;
    }

    /**
     * Returns the bytes that the token holds.
     *
     * @return the bytes, commonly DER; empty when they cannot be read
     */
    public byte[] getEncoded() {
        return encoded.clone();
    }

    /**
     * Returns the certificate.
     *
     * @return the certificate, none when the token holds something else
     */
    public Optional<X509Certificate> getCertificate() {
        return Optional.ofNullable(certificate);
    }

    /**
     * Returns whose certificate it is.
     *
     * @return the subject's name in the form of RFC 2253, none when it is no X.509 certificate
     */
    public Optional<String> getSubject() {
        return getCertificate().map(known -> known.getSubjectX500Principal().getName());
    }

    /**
     * Returns the end of its validity.
     *
     * @return the last moment, none when it is no X.509 certificate
     */
    public Optional<Instant> getExpiry() {
        return getCertificate().map(known -> known.getNotAfter().toInstant());
    }

    /** Tells whether the other has the same label, ID and bytes, and the same answer about its private key. */
    @Override
    public boolean equals(Object other) {
        if (!(other instanceof TokenCertificate)) {
            return false;
        }
        TokenCertificate one = (TokenCertificate) other;
        return label.equals(one.label) && Arrays.equals(id, one.id) && Arrays.equals(encoded, one.encoded)
                && privateKey == one.privateKey;
    }

    @Override
    public int hashCode() {
        return Objects.hash(label, Arrays.hashCode(id), Arrays.hashCode(encoded), privateKey);
    }

    /** Returns label, subject and expiry, for people to read. */
    @Override
    public String toString() {
        return "'" + label + "' " + getSubject().orElse("(no X.509 certificate)")
                + getExpiry().map(end -> " until " + end).orElse("") + (privateKey ? ", with private key" : "");
    }
}
