// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

import javax.naming.InvalidNameException;
import javax.naming.ldap.LdapName;
import javax.naming.ldap.Rdn;
import javax.security.auth.x500.X500Principal;

/** A distinguished name as the parts that a request takes, in the order of their encoding. */
final class SubjectParts {
    /** Parts that Java's names of RFC 2253 would write in digits, or under a name that modules do not know. */
    private static final Map<String, String> NAMES = new HashMap<>();

    static {
        NAMES.put("2.5.4.4", "SN");
        NAMES.put("2.5.4.5", "serialNumber");
        NAMES.put("2.5.4.9", "street");
        NAMES.put("2.5.4.12", "title");
        NAMES.put("2.5.4.42", "GN");
        NAMES.put("2.5.4.43", "initials");
        NAMES.put("2.5.4.46", "dnQualifier");
        NAMES.put("2.5.4.97", "organizationIdentifier");
        NAMES.put("1.2.840.113549.1.9.1", "emailAddress");
    }

    private SubjectParts() {
    }

    /**
     * Takes a name apart: names at even places, values behind them.
     *
     * @throws IllegalArgumentException when a request cannot say it
     */
    static List<String> of(X500Principal name) {
        List<String> parts = new ArrayList<>();
        try {
            for (Rdn rdn : new LdapName(name.getName(X500Principal.RFC2253, NAMES)).getRdns()) {
                if (rdn.size() != 1 || !(rdn.getValue() instanceof String)) {
                    throw new IllegalArgumentException("a request cannot say " + rdn);
                }
                parts.add(rdn.getType());
                parts.add((String) rdn.getValue());
            }
        } catch (InvalidNameException unlikely) {
            throw new IllegalArgumentException(unlikely);
        }
        return parts;
    }
}
