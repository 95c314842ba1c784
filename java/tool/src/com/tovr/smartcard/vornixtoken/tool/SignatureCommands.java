// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.Token;

import picocli.CommandLine.ArgGroup;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** PKCS #7 messages and certificate requests. */
final class SignatureCommands {
    private static final String CRITICAL = "critical,";

    private SignatureCommands() {
    }

    @Command(name = "sign", description = "Signs a file into a PKCS #7 message; prints it as PEM.",
            footer = {
                "  vornixtoken-tool sign --id 01 --detached -o letter.p7s letter.txt",
                "  vornixtoken-tool sign --certificate-id 01 --key-id 02 -o message letter.txt"})
    static final class Sign extends ToolCommand.AsUser {
        @Option(names = {"-i", "--id"}, paramLabel = "HEX", defaultValue = Id.NONE,
                description = "The ID of the signer's certificate and of the private key.")
        private Id id;

        @Option(names = {"-c", "--certificate-id"}, paramLabel = "HEX",
                description = "The ID of the signer's certificate, if it is another.")
        private Id certificateId;

        @Option(names = {"-k", "--key-id"}, paramLabel = "HEX",
                description = "The ID of the private key, if it is another.")
        private Id keyId;

        @Option(names = "--with", paramLabel = "HEX",
                description = "The ID of a certificate that goes into the message too; may be repeated.")
        private List<Id> with = new ArrayList<>();

        @ArgGroup
        private Mode mode = new Mode();

        @Option(names = {"-o", "--out"}, paramLabel = "FILE", description = "Write DER into this file instead, - for standard output.")
        private Path out;

        @Parameters(paramLabel = "FILE", description = "What is signed; - for standard input.")
        private Path file;

        @Override
        void run(Token token, Pin pin) throws Exception {
            byte[][] furtherIds = with.stream().map(Id::bytes).toArray(byte[][]::new);
            byte[] data = read(file);
            byte[] message = showing("signing", () -> token.sign(pin, data, orCommon(certificateId), orCommon(keyId),
                    mode.word(), furtherIds));
            putDer("message", message, "PKCS7", out);
        }

        private byte[] orCommon(Id own) {
            return (own == null ? id : own).bytes();
        }
    }

    /** The mode word. What it means is the module's matter; most take 0 and 1 so. */
    static final class Mode {
        @Option(names = "--enclosed", description = "Put the file into the message: mode word 0, the default.")
        private boolean enclosed;

        @Option(names = {"-d", "--detached"},
                description = {"Leave the file out of the message: mode word 1.",
                    "What a word means is the module's matter; the software token takes these two."})
        private boolean detached;

        @Option(names = {"-f", "--flags"}, paramLabel = "N",
                description = "Any other mode word of the module, such as 2 or 0x10.")
        private Word flags;

        long word() {
            return flags != null ? flags.value : (detached ? SignatureMode.DETACHED : SignatureMode.ENCLOSED).getWord();
        }
    }

    @Command(name = "verify", description = "Verifies a PKCS #7 message by the module, without a token.",
            footer = {
                "  vornixtoken-tool verify message",
                "  vornixtoken-tool verify --content letter.txt letter.p7s"})
    static final class Verify extends ToolCommand.OnModule {
        @Option(names = {"-c", "--content"}, paramLabel = "FILE",
                description = "What was signed, if the message lacks it; - for standard input.")
        private Path content;

        @Parameters(index = "0", paramLabel = "MESSAGE",
                description = "The module's first input, commonly the message, DER or PEM.")
        private Path message;

        @Parameters(index = "1", arity = "0..1", paramLabel = "CONTENT", description = "The same as --content.")
        private Path second;

        @Override
        void run() throws Exception {
            if (content != null && second != null) {
                throw misused("The content is given twice: '--content=" + content + "' and '" + second + "'");
            }
            Path signed = content != null ? content : second;
            byte[] first = DerFile.message(message);
            byte[] data = signed == null ? null : read(signed);
            showing("verifying", () -> {
                Token.verify(module, first, data);
                return null;
            });
            say("good");
        }
    }

    @Command(name = "create-request", description = "Builds a certificate request; prints it as PEM.",
            footer = {
                "  vornixtoken-tool create-request --id 01 --subject CN=Alice --subject C=NO \\",
                "      --extension keyUsage=critical,digitalSignature"})
    static final class CreateRequest extends ToolCommand.AsUser {
        @Option(names = {"-i", "--id"}, required = true, paramLabel = "HEX", description = "The ID of the key pair.")
        private Id id;

        @Option(names = "--private-key-id", paramLabel = "HEX",
                description = "The ID of the private key, if it is another.")
        private Id privateKeyId;

        @Option(names = {"-s", "--subject"}, paramLabel = "NAME=VALUE",
                description = "A part of the subject; may be repeated.")
        private List<NamedText> subject = new ArrayList<>();

        @Option(names = {"-a", "--attribute"}, paramLabel = "NAME=VALUE",
                description = "An attribute; may be repeated.")
        private List<NamedText> attributes = new ArrayList<>();

        @Option(names = {"-x", "--extension"}, paramLabel = "NAME=[critical,]VALUE",
                description = "An extension; may be repeated.")
        private List<NamedText> extensions = new ArrayList<>();

        @Option(names = {"-o", "--out"}, paramLabel = "FILE", description = "Write DER into this file instead, - for standard output.")
        private Path out;

        @Override
        void run(Token token, Pin pin) throws Exception {
            Id privateId = privateKeyId == null ? id : privateKeyId;
            byte[] request = token.createRequest(pin, id.bytes(), privateId.bytes(), content());
            putDer("request", request, "CERTIFICATE REQUEST", out);
        }

        private RequestContent content() {
            RequestContent.Builder content = RequestContent.builder();
            for (NamedText part : subject) {
                content.subject(part.name, part.value);
            }
            for (NamedText attribute : attributes) {
                content.attribute(attribute.name, attribute.value);
            }
            for (NamedText extension : extensions) {
                boolean critical = extension.value.startsWith(CRITICAL);
                String value = critical ? extension.value.substring(CRITICAL.length()) : extension.value;
                content.extension(extension.name, critical, value);
            }
            return content.build();
        }
    }
}
