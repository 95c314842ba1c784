// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenSession;

import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

import java.nio.file.Path;
import java.security.interfaces.RSAPublicKey;
import java.util.Arrays;

/** Certificates and keys. */
final class CertificateAndKeyCommands {
    private CertificateAndKeyCommands() {
    }

    /** One object by label and ID. */
    private abstract static class OnObject extends ToolCommand.AsUser {
        @Option(names = {"-l", "--label"}, required = true, paramLabel = "TEXT", description = "The object's label.")
        String label;

        @Option(names = {"-i", "--id"}, paramLabel = "HEX", defaultValue = Id.NONE,
                description = "The object's ID; if not given, any when reading, none when writing.")
        Id id;
    }

    @Command(name = "read-certificate",
            description = "Reads a certificate by its label, its ID or both; prints it as PEM.",
            footer = "  vornixtoken-tool read-certificate --label 'my certificate' --id 01 -o my.der")
    static final class ReadCertificate extends ToolCommand.AsUser {
        @Option(names = {"-l", "--label"}, paramLabel = "TEXT", description = "The certificate's label.")
        private String label;

        @Option(names = {"-i", "--id"}, paramLabel = "HEX", defaultValue = Id.NONE, description = "The certificate's ID.")
        private Id id;

        @Option(names = {"-o", "--out"}, paramLabel = "FILE", description = "Write DER into this file instead, - for standard output.")
        private Path out;

        @Override
        void run() throws Exception {
            if (label == null && id.bytes().length == 0) {
                throw misused("Missing required option: '--label=TEXT' or '--id=HEX'");
            }
            super.run();
        }

        @Override
        void run(Token token, Pin pin) throws Exception {
            byte[] certificate = label == null ? byId(token, pin) : token.readCertificateBytes(pin, label, id.bytes());
            putDer("certificate", certificate, "CERTIFICATE", out);
        }

        private byte[] byId(Token token, Pin pin) throws Exception {
            for (TokenCertificate each : token.listCertificates(pin)) {
                if (Arrays.equals(each.getId(), id.bytes())) {
                    return each.getEncoded();
                }
            }
            throw new Refusal(Reason.NO_SUCH_OBJECT, "the token has no certificate with ID " + Id.text(id.bytes()));
        }
    }

    @Command(name = "read-public-key", description = "Reads an RSA public key; prints it as PEM.",
            footer = "  vornixtoken-tool read-public-key --label 'my key'")
    static final class ReadPublicKey extends OnObject {
        @Option(names = {"-o", "--out"}, paramLabel = "FILE", description = "Write DER into this file instead, - for standard output.")
        private Path out;

        @Override
        void run(Token token, Pin pin) throws Exception {
            RSAPublicKey key = token.readPublicKey(pin, label, id.bytes());
            put("modulus", key.getModulus().toString(16));
            put("exponent", key.getPublicExponent());
            putDer("publicKey", key.getEncoded(), "PUBLIC KEY", out);
        }
    }

    @Command(name = "import-certificate",
            description = "Stores a certificate. One that is there already stays beside it, and you are warned.",
            footer = "  vornixtoken-tool import-certificate --label 'my certificate' --id 01 my.pem")
    static final class ImportCertificate extends OnObject {
        @Parameters(paramLabel = "FILE", description = "The certificate, DER or PEM, of a chain the first; - for standard input.")
        private Path file;

        @Override
        void run(Token token, Pin pin) throws Exception {
            byte[] certificate = DerFile.certificate(file);
            try (TokenSession session = token.open(pin)) {
                session.listCertificates().stream().filter(each -> isLike(each, certificate)).findFirst()
                        .ifPresent(each -> warn("a certificate like it is there already, '" + each.getLabel()
                                + "' with ID " + Id.text(each.getId()) + "; both stay"));
                session.importCertificate(label, id.bytes(), certificate);
            }
        }

        private boolean isLike(TokenCertificate other, byte[] certificate) {
            return Arrays.equals(other.getEncoded(), certificate)
                    || other.getLabel().equals(label) && Arrays.equals(other.getId(), id.bytes());
        }
    }

    @Command(name = "import-blocks",
            description = "Stores a certificate from two blocks whose meaning the module defines.",
            footer = "  vornixtoken-tool import-blocks first.bin second.bin")
    static final class ImportBlocks extends ToolCommand.AsUser {
        @Parameters(index = "0", paramLabel = "FIRST", description = "The first block.")
        private Path first;

        @Parameters(index = "1", paramLabel = "SECOND", description = "The second block.")
        private Path second;

        @Override
        void run(Token token, Pin pin) throws Exception {
            token.importCertificateBlocks(pin, read(first), read(second));
        }
    }

    @Command(name = "generate-rsa", description = "Generates an RSA key pair on the token.",
            footer = "  vornixtoken-tool generate-rsa --label 'my key' --id 01 --bits 2048")
    static final class GenerateRsa extends OnObject {
        @Option(names = {"-b", "--bits"}, defaultValue = "2048", paramLabel = "N",
                description = "The length of the modulus (default: ${DEFAULT-VALUE}).")
        private int bits;

        @Override
        void run(Token token, Pin pin) throws Exception {
            showing("generating the key pair", () -> {
                token.generateRsaKeyPair(pin, bits, label, id.bytes());
                return null;
            });
        }
    }

    @Command(name = "generate-gost", description = "Generates a GOST R 34.10-2001 key pair on the token.",
            footer = "  vornixtoken-tool generate-gost --label 'my GOST key' --id 02")
    static final class GenerateGost extends OnObject {
        @Override
        void run(Token token, Pin pin) throws Exception {
            showing("generating the key pair", () -> {
                token.generateGostKeyPair(pin, label, id.bytes());
                return null;
            });
        }
    }
}
