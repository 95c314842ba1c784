// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import java.nio.file.Files;
import java.nio.file.Paths;

/** Stores a certificate from two blocks that the module understands. */
public final class ImportCertificateBlocks {
    private ImportCertificateBlocks() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ImportCertificateBlocks.class, arguments, "MODULE READER FIRST SECOND");
        byte[] first = Files.readAllBytes(Paths.get(arguments[2]));
        byte[] second = Files.readAllBytes(Paths.get(arguments[3]));
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            token.importCertificateBlocks(pin, first, second);
        }
    }
}
