// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.io.ByteArrayInputStream;
import java.math.BigInteger;
import java.security.GeneralSecurityException;
import java.security.KeyFactory;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.RSAPublicKeySpec;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Objects;
import java.util.function.Supplier;

/** The jobs that a session does. */
final class Jobs {
    static final byte[] NO_ID = {};

    private Jobs() {
    }

    static Job<Void> changePin(String what, Pin oldPin, String oldName, Pin newPin, String newName) {
        Objects.requireNonNull(oldPin, oldName);
        Objects.requireNonNull(newPin, newName);
        return new Job<>(() -> "changing the " + what, null, () -> {
            oldPin.bytes();
            newPin.bytes();
            return (natives, module, session) -> oldPin.lend(from -> newPin.lend(to -> {
                natives.changePin(module, session, from, to);
                return null;
            }));
        });
    }

    static Job<Void> clean() {
        return command(() -> "cleaning the token", null, () -> NativeCall::destroyObjects);
    }

    static Job<List<TokenObject>> listObjects() {
        return new Job<>(() -> "listing objects", null, () -> (natives, module, session) -> {
            List<TokenObject> objects = new ArrayList<>();
            for (Fields fields = new Fields(natives.listObjects(module, session)); fields.hasNext();) {
                objects.add(new TokenObject(fields.text(), fields.text(), fields.text(), fields.text()));
            }
            return Collections.unmodifiableList(objects);
        });
    }

    static Job<List<TokenCertificate>> listCertificates() {
        return new Job<>(() -> "listing certificates", null, () -> (natives, module, session) -> {
            List<TokenCertificate> certificates = new ArrayList<>();
            for (Fields fields = new Fields(natives.listCertificates(module, session)); fields.hasNext();) {
                certificates.add(new TokenCertificate(fields.text(), fields.bytes(), fields.bytes(), fields.number() != 0));
            }
            return Collections.unmodifiableList(certificates);
        });
    }

    static Job<byte[]> readCertificate(String label, byte[] id) {
        return search("certificate", label, id, (natives, module, session, name) ->
                delivered(natives.readCertificate(module, session, name, id), "C_GetAttributeValue"));
    }

    static X509Certificate certificate(byte[] bytes) throws CertificateException {
        return (X509Certificate) CertificateFactory.getInstance("X.509")
                .generateCertificate(new ByteArrayInputStream(bytes));
    }

    static Job<RSAPublicKeySpec> readPublicKey(String label, byte[] id) {
        return search("public key", label, id, (natives, module, session, name) -> {
            Fields fields = new Fields(natives.readPublicKey(module, session, name, id));
            BigInteger modulus = new BigInteger(1, delivered(fields.bytes(), "C_GetAttributeValue"));
            return new RSAPublicKeySpec(modulus, new BigInteger(1, fields.bytes()));
        });
    }

    static RSAPublicKey publicKey(RSAPublicKeySpec key) throws GeneralSecurityException {
        return (RSAPublicKey) KeyFactory.getInstance("RSA").generatePublic(key);
    }

    static Job<Void> importCertificate(String label, byte[] id, byte[] certificate) {
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        Objects.requireNonNull(certificate, "certificate");
        return command(() -> "importing certificate '" + label + "'", "C_TOVR_ImportX509Certificate", () -> {
            byte[] name = Texts.encodeWithoutNul(label);
            return (natives, module, session) -> natives.importCertificate(module, session, name, id, certificate);
        });
    }

    static Job<Void> importBlocks(byte[] first, byte[] second) {
        Objects.requireNonNull(first, "first");
        Objects.requireNonNull(second, "second");
        return command(() -> "importing a certificate of two blocks", "C_TOVR_ImportCert",
                () -> (natives, module, session) -> natives.importBlocks(module, session, first, second));
    }

    static Job<Void> generateRsaKeyPair(int modulusBits, String label, byte[] id) {
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        return command(() -> "generating RSA key pair '" + label + "'", null, () -> {
            byte[] name = Texts.encode(label);
            return (natives, module, session) ->
                    natives.generateRsaKeyPair(module, session, modulusBits, name, id);
        });
    }

    static Job<Void> generateGostKeyPair(String label, byte[] id) {
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        return command(() -> "generating GOST key pair '" + label + "'", null, () -> {
            byte[] name = Texts.encode(label);
            return (natives, module, session) -> natives.generateGostKeyPair(module, session, name, id);
        });
    }

    static Job<byte[]> sign(byte[] data, byte[] certificateId, byte[] privateKeyId, long flags, byte[]... further) {
        Objects.requireNonNull(data, "data");
        Objects.requireNonNull(certificateId, "certificateId");
        Objects.requireNonNull(privateKeyId, "privateKeyId");
        for (byte[] id : Objects.requireNonNull(further, "furtherCertificateIds")) {
            Objects.requireNonNull(id, "furtherCertificateIds");
        }
        String function = "C_TOVR_pkcs7Sign";
        return new Job<>(() -> "signing", function, () -> (natives, module, session) -> Der.withoutPadding(delivered(
                natives.sign(module, session, data, certificateId, privateKeyId, further, flags), function)));
    }

    static Job<byte[]> createRequest(byte[] publicKeyId, byte[] privateKeyId, RequestContent content) {
        Objects.requireNonNull(publicKeyId, "publicKeyId");
        Objects.requireNonNull(privateKeyId, "privateKeyId");
        Objects.requireNonNull(content, "content");
        String function = "C_TOVR_CreateCSR";
        return new Job<>(() -> "creating a certificate request", function, () -> {
            byte[][] texts = content.encode();
            return (natives, module, session) -> {
                try {
                    return Der.withoutPadding(delivered(natives.createRequest(module, session, publicKeyId, privateKeyId,
                            texts[0], content.subject().length, texts[1], content.attributes().length, texts[2],
                            content.extensions().length), function));
                } finally {
                    for (byte[] each : texts) {
                        Arrays.fill(each, (byte) 0);
                    }
                }
            };
        });
    }

    private static <T> Job<T> search(String kind, String label, byte[] id, Search.Read<T> read) {
        Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        return new Job<>(() -> "reading " + kind + " '" + label + "'", null, () -> Search.by(label, read));
    }

    /** A job without a result. */
    private interface Command {
        void on(NativeCall natives, long module, long session) throws NativeFailure;
    }

    private interface CommandPreparation {
        Command prepare() throws Refusal;
    }

    private static Job<Void> command(Supplier<String> action, String vendorFunction, CommandPreparation preparation) {
        return new Job<>(action, vendorFunction, () -> {
            Command command = preparation.prepare();
            return (natives, module, session) -> {
                command.on(natives, module, session);
                return null;
            };
        });
    }

    private static byte[] delivered(byte[] result, String step) throws NativeFailure {
        if (result.length == 0) {
            throw new NativeFailure(ReturnCodes.CKR_OK, step, "");
        }
        return result;
    }
}
