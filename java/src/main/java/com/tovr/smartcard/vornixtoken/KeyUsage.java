// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** What a request's key may be used for (RFC 5280, section 4.2.1.3), by the names of an OpenSSL configuration file. */
public enum KeyUsage {
    /** Signatures, other than on certificates and revocation lists. */
    DIGITAL_SIGNATURE("digitalSignature"),
    /** Signatures that shall bind the signer. */
    NON_REPUDIATION("nonRepudiation"),
    /** The encryption of keys. */
    KEY_ENCIPHERMENT("keyEncipherment"),
    /** The encryption of data. */
    DATA_ENCIPHERMENT("dataEncipherment"),
    /** The agreement on a key. */
    KEY_AGREEMENT("keyAgreement"),
    /** Signatures on certificates. */
    KEY_CERT_SIGN("keyCertSign"),
    /** Signatures on revocation lists. */
    CRL_SIGN("cRLSign");

    private final String text;

    KeyUsage(String text) {
        this.text = text;
    }

    String text() {
        return text;
    }
}
