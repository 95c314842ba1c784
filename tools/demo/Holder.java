// SPDX-License-Identifier: Apache-2.0
package demo;

import java.security.PublicKey;
import java.security.cert.X509Certificate;

/** Somebody with a key pair and a certificate on the token, all three under one ID. */
final class Holder {
    final String name;
    final String keyType;
    final byte[] id;
    final Judge judge;

    /** As read back from the token; {@code null} for a kind of key whose public half the library does not read. */
    PublicKey publicKey;
    X509Certificate certificate;

    Holder(String name, String keyType, int id, Judge judge) {
        this.name = name;
        this.keyType = keyType;
        this.id = new byte[] {(byte) id};
        this.judge = judge;
    }
}
