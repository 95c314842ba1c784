// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.api;

/**
 * One object of a token as {@link Pkcs11Wrapper#listObjects} describes it. The library creates it with the constructor
 * and fills it with the four setters.
 */
public class Pkcs11ObjectAttribute {
    private String type;
    private String label;
    private String id;
    private String keyType;

    /** An object of which nothing is known yet. */
    public Pkcs11ObjectAttribute() {
    }

    /**
     * Returns the object's class.
     *
     * @return "data", "certificate", "public key", "private key", "secret key", "hw feature", "domain parameter",
     *         "mechanism" or, for any other, "unknown"; empty when it cannot be read
     */
    public String getType() {
        return type;
    }

    /**
     * Returns the label.
     *
     * @return the label up to its first NUL, trailing blanks included; empty when there is none
     */
    public String getLabel() {
        return label;
    }

    /**
     * Returns the ID.
     *
     * @return lowercase hexadecimal digits, two a byte; empty when there is none
     */
    public String getId() {
        return id;
    }

    /**
     * Returns the key's type.
     *
     * @return "RSA", "DSA", "ECDSA", "DES", "AES", "GOSTR3410" or, for any other, "Unknown"; {@code null} when the
     *         object is no key
     */
    public String getKeyType() {
        return keyType;
    }

    /**
     * Sets the object's class.
     *
     * @param type the class by name
     */
    public void setType(String type) {
        this.type = type;
    }

    /**
     * Sets the label.
     *
     * @param label the label
     */
    public void setLabel(String label) {
        this.label = label;
    }

    /**
     * Sets the ID.
     *
     * @param id the ID in hexadecimal
     */
    public void setId(String id) {
        this.id = id;
    }

    /**
     * Sets the key's type. Not called for an object without one.
     *
     * @param keyType the type by name
     */
    public void setKeyType(String keyType) {
        this.keyType = keyType;
    }
}
