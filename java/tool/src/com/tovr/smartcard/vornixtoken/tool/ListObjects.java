// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenObject;
import com.tovr.smartcard.vornixtoken.TokenSession;

import picocli.CommandLine.Command;

import java.time.Instant;
import java.time.ZoneOffset;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Iterator;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** The objects, and of a certificate whose it is, until when, and whether its private key is there. */
@Command(name = "list", description = {"Lists the objects of the token.",
        "Tells of each certificate the subject, the expiry and whether its private key is there."},
        footer = "  vornixtoken-tool list --pin-file pin.txt --json")
final class ListObjects extends ToolCommand.AsUser {
    @Override
    void run(Token token, Pin pin) throws Exception {
        List<Map<String, Object>> objects = new ArrayList<>();
        try (TokenSession session = token.open(pin)) {
            List<TokenObject> all = session.listObjects();
            List<TokenCertificate> certificates = new ArrayList<>();
            if (all.stream().anyMatch(object -> object.getKind() == TokenObject.Kind.CERTIFICATE)) {
                certificates.addAll(session.listCertificates());
            }
            for (TokenObject object : all) {
                objects.add(members(object, take(certificates, object)));
            }
        }
        put("objects", objects);
    }

    /** Takes the object's certificate out of those that are left. Several may have the same label and ID. */
    private static TokenCertificate take(List<TokenCertificate> certificates, TokenObject object) {
        if (object.getKind() == TokenObject.Kind.CERTIFICATE) {
            for (Iterator<TokenCertificate> left = certificates.iterator(); left.hasNext();) {
                TokenCertificate each = left.next();
                if (each.getLabel().equals(object.getLabel()) && Arrays.equals(each.getId(), object.getId())) {
                    left.remove();
                    return each;
                }
            }
        }
        return null;
    }

    private Map<String, Object> members(TokenObject object, TokenCertificate certificate) {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("kind", object.getKind());
        members.put("label", object.getLabel());
        members.put("id", object.getIdText());
        members.put("keyType", object.getKeyType().orElse(null));
        StringBuilder line = new StringBuilder(object.toString().trim());
        if (certificate != null) {
            String subject = certificate.getSubject().orElse(null);
            Instant expiry = certificate.getExpiry().orElse(null);
            members.put("subject", subject);
            members.put("expiry", expiry);
            members.put("privateKey", certificate.hasPrivateKey());
            if (subject != null) {
                line.append(", ").append(subject);
            }
            if (expiry != null) {
                line.append(", until ").append(expiry.atOffset(ZoneOffset.UTC).toLocalDate());
            }
            line.append(certificate.hasPrivateKey() ? ", with private key" : ", without private key");
        }
        say(line.toString());
        return members;
    }
}
