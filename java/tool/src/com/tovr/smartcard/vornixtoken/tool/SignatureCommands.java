// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;

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
            footer = "  vornixtoken-tool sign --certificate-id 01 --key-id 01 -o message letter.txt")
    static final class Sign extends ToolCommand.AsUser {
        @Option(names = {"-c", "--certificate-id"}, paramLabel = "HEX", defaultValue = Id.NONE,
                description = "The ID of the signer's certificate.")
        private Id certificateId;

        @Option(names = {"-k", "--key-id"}, paramLabel = "HEX", defaultValue = Id.NONE,
                description = "The ID of the private key.")
        private Id keyId;

        @Option(names = "--with", paramLabel = "HEX",
                description = "The ID of a certificate that goes into the message too; may be repeated.")
        private List<Id> with = new ArrayList<>();

        @Option(names = {"-f", "--flags"}, defaultValue = "0", paramLabel = "N",
                description = "The module's mode word, such as 1 or 0x1 (default: ${DEFAULT-VALUE}).")
        private Word flags;

        @Option(names = {"-o", "--out"}, paramLabel = "FILE", description = "Write DER into this file instead, - for standard output.")
        private Path out;

        @Parameters(paramLabel = "FILE", description = "What is signed; - for standard input.")
        private Path file;

        @Override
        void run(Token token, Pin pin) throws Exception {
            byte[][] furtherIds = with.stream().map(Id::bytes).toArray(byte[][]::new);
            byte[] message = token.sign(pin, read(file), certificateId.bytes(), keyId.bytes(), flags.value, furtherIds);
            putDer("message", message, "PKCS7", out);
        }
    }

    @Command(name = "verify", description = "Verifies a PKCS #7 message by the module, without a token.",
            footer = "  vornixtoken-tool verify message")
    static final class Verify extends ToolCommand.OnModule {
        @Parameters(index = "0", paramLabel = "FIRST",
                description = "The module's first input, commonly the message, DER or PEM.")
        private Path first;

        @Parameters(index = "1", arity = "0..1", paramLabel = "SECOND",
                description = "The second input, commonly the content of a message that lacks it.")
        private Path second;

        @Override
        void run() throws Exception {
            Token.verify(module, DerFile.message(first), second == null ? null : read(second));
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
