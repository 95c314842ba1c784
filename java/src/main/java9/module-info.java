// SPDX-License-Identifier: Apache-2.0
/** A smart-card token for Java applications, by way of its maker's PKCS #11 module. */
module com.tovr.smartcard.vornixtoken {
    requires java.naming; // reads distinguished names

    exports com.tovr.smartcard.vornixtoken;
    exports com.tovr.smartcard.vornixtoken.api;
    exports com.tovr.smartcard.vornixtoken.utils;
}
