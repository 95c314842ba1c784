// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

/** Changes the user PIN from VORNIX_USER_PIN to VORNIX_NEW_PIN. */
public final class ChangePin {
    private ChangePin() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ChangePin.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
                Pin chosen = Pin.of(System.getenv("VORNIX_NEW_PIN").toCharArray())) {
            token.changePin(pin, chosen);
        }
    }
}
