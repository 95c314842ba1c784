// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

/** Changes the PUK from VORNIX_SO_PIN to VORNIX_NEW_PIN. */
public final class ChangePuk {
    private ChangePuk() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ChangePuk.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin puk = Pin.of(System.getenv("VORNIX_SO_PIN").toCharArray());
                Pin chosen = Pin.of(System.getenv("VORNIX_NEW_PIN").toCharArray())) {
            token.changePuk(puk, chosen);
        }
    }
}
