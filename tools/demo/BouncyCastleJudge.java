// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** Bouncy Castle as judge, in a process of its own; it shares openssl's folder. */
final class BouncyCastleJudge implements Judge {
    private static final Path JAR = OwnProgram.jar().resolveSibling("gost-judge.jar");
    private static final int GOOD = 0;
    private static final int BAD = 1;

    private final OpenSsl openssl;

    BouncyCastleJudge(OpenSsl openssl) {
        this.openssl = openssl;
        if (!Files.exists(JAR)) {
            throw new Surprise("nobody judges GOST: openssl has no GOST engine, and there is no " + JAR
                    + "; install libbcpkix-java (Debian) and build again");
        }
    }

    @Override
    public String name() {
        return "Bouncy Castle";
    }

    @Override
    public byte[] certify(byte[] request) throws IOException {
        if (!accepts("issue", openssl.write("request.der", request), CertificateAuthority.FILE,
                CertificateAuthority.KEY, "certificate.der")) {
            throw new Surprise("Bouncy Castle certifies no request with a bad signature");
        }
        return openssl.read("certificate.der");
    }

    @Override
    public boolean findsGood(byte[] request) throws IOException {
        return accepts("verify-request", openssl.write("request.der", request));
    }

    @Override
    public boolean accepts(byte[] message, byte[] content) throws IOException {
        List<String> arguments = new ArrayList<>(List.of("verify-message", openssl.write("message", message),
                CertificateAuthority.FILE, "verified"));
        if (content != null) {
            arguments.add(openssl.write("content", content));
        }
        return accepts(arguments.toArray(new String[0]));
    }

    @Override
    public byte[] content() throws IOException {
        return openssl.read("verified");
    }

    private boolean accepts(String... arguments) throws IOException {
        List<String> command = new ArrayList<>(List.of(
                OwnProgram.java(), "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", "-jar", JAR.toString()));
        command.addAll(List.of(arguments));
        Outcome outcome = Outcome.of(openssl.inFolder(command).redirectErrorStream(true));
        if (outcome.status != GOOD && outcome.status != BAD) {
            throw new Surprise("Bouncy Castle could not " + String.join(" ", arguments) + ":\n" + outcome.text);
        }
        return outcome.status == GOOD;
    }
}
