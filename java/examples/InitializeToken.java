// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

/** Initialises a token; all its objects are lost. */
public final class InitializeToken {
    private InitializeToken() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(InitializeToken.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin puk = Pin.of(System.getenv("VORNIX_SO_PIN").toCharArray())) {
            token.initialize(puk);
            System.out.println(token.readInfo().getLabel());
        }
    }
}
