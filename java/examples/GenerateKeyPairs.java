// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

/** Generates an RSA and a GOST key pair. */
public final class GenerateKeyPairs {
    private GenerateKeyPairs() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(GenerateKeyPairs.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            token.generateRsaKeyPair(pin, 2048, "my RSA key", new byte[] {1});
            token.generateGostKeyPair(pin, "my GOST key", new byte[] {2});
        }
    }
}
