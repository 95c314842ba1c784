// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

/** Destroys all objects of a token. */
public final class CleanToken {
    private CleanToken() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(CleanToken.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            token.clean(pin);
        }
    }
}
