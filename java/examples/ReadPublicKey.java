// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import java.security.interfaces.RSAPublicKey;

/** Shows an RSA public key. */
public final class ReadPublicKey {
    private ReadPublicKey() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ReadPublicKey.class, arguments, "MODULE READER LABEL");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            RSAPublicKey key = token.readPublicKey(pin, arguments[2]);
            System.out.println(key.getModulus().bitLength() + " bits, exponent " + key.getPublicExponent());
        }
    }
}
