// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenObject;

/** Lists the private keys of a token. */
public final class ListObjects {
    private ListObjects() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ListObjects.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            for (TokenObject object : token.listObjects(pin)) {
                if (object.getKind() == TokenObject.Kind.PRIVATE_KEY) {
                    System.out.println(object.getLabel() + " " + object.getIdText());
                }
            }
        }
    }
}
