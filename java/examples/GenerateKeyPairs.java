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
        String module = arguments[0];
        String reader = arguments[1];
        Token token = new Token(module, reader);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            token.generateRsaKeyPair(pin, 2048, "my RSA key", new byte[] {1});
            token.generateGostKeyPair(pin, "my GOST key", new byte[] {2});
        }
    }
}
