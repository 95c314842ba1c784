// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.HashMap;
import java.util.Map;
import java.util.Objects;
import java.util.Optional;

/** One object of a token. */
public final class TokenObject {
    private final Kind kind;
    private final String label;
    private final String id;
    private final KeyType keyType;

    /** Takes the natives' names. The one of the key type is empty where the object is no key. */
    TokenObject(String kind, String label, String id, String keyType) {
        this.kind = Kind.NAMES.getOrDefault(kind, Kind.UNKNOWN);
        this.label = label;
        this.id = id;
        this.keyType = keyType.isEmpty() ? null : KeyType.NAMES.getOrDefault(keyType, KeyType.UNKNOWN);
    }

    /**
     * Returns what the object is.
     *
     * @return its kind
     */
    public Kind getKind() {
        return kind;
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
     * Returns the ID.
     *
     * @return the ID, empty when there is none
     */
    public byte[] getId() {
        byte[] bytes = new byte[id.length() / 2];
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] = (byte) Integer.parseInt(id.substring(2 * i, 2 * i + 2), 16);
        }
        return bytes;
    }

    /**
     * Returns the ID as text.
     *
     * @return lowercase hexadecimal digits, two a byte
     */
    public String getIdText() {
        return id;
    }

    /**
     * Returns the type of a key.
     *
     * @return the type, none when the object is no key
     */
    public Optional<KeyType> getKeyType() {
        return Optional.ofNullable(keyType);
    }

    /** Tells whether the other object has the same kind, label, ID and key type. A token may hold several such. */
    @Override
    public boolean equals(Object other) {
        if (!(other instanceof TokenObject)) {
            return false;
        }
        TokenObject object = (TokenObject) other;
        return kind == object.kind && label.equals(object.label) && id.equals(object.id) && keyType == object.keyType;
    }

    @Override
    public int hashCode() {
        return Objects.hash(kind, label, id, keyType);
    }

    /** Returns all of it, for people to read. */
    @Override
    public String toString() {
        return kind + " '" + label + "' " + id + (keyType == null ? "" : " " + keyType);
    }

    /** What an object is. */
    public enum Kind {
        /** Data of an application. */
        DATA("data"),
        /** A certificate. */
        CERTIFICATE("certificate"),
        /** A public key. */
        PUBLIC_KEY("public key"),
        /** A private key. */
        PRIVATE_KEY("private key"),
        /** A secret key. */
        SECRET_KEY("secret key"),
        /** A part of the hardware, a clock for instance. */
        HW_FEATURE("hw feature"),
        /** Parameters from which keys are generated. */
        DOMAIN_PARAMETERS("domain parameter"),
        /** A mechanism. */
        MECHANISM("mechanism"),
        /** A vendor's own class, or an object whose class cannot be read. */
        UNKNOWN("unknown");

        private static final Map<String, Kind> NAMES = new HashMap<>();

        static {
            for (Kind kind : values()) {
                NAMES.put(kind.name, kind);
            }
        }

        private final String name;

        Kind(String name) {
            this.name = name;
        }

        /** Returns the name that the library gives it. */
        @Override
        public String toString() {
            return name;
        }
    }

    /** The type of a key. */
    public enum KeyType {
        /** RSA. */
        RSA("RSA"),
        /** DSA. */
        DSA("DSA"),
        /** Elliptic curves. */
        ECDSA("ECDSA"),
        /** DES, with one, two or three keys. */
        DES("DES"),
        /** AES. */
        AES("AES"),
        /** GOST R 34.10. */
        GOSTR3410("GOSTR3410"),
        /** Any other. */
        UNKNOWN("Unknown");

        private static final Map<String, KeyType> NAMES = new HashMap<>();

        static {
            for (KeyType type : values()) {
                NAMES.put(type.name, type);
            }
        }

        private final String name;

        KeyType(String name) {
            this.name = name;
        }

        /** Returns the name that the library gives it. */
        @Override
        public String toString() {
            return name;
        }
    }
}
