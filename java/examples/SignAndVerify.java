// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;

import java.nio.charset.StandardCharsets;

/** Signs a text and has the module judge the signature. */
public final class SignAndVerify {
    private SignAndVerify() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(SignAndVerify.class, arguments, "MODULE READER");
        String module = arguments[0];
        String reader = arguments[1];
        byte[] text = "I owe you one".getBytes(StandardCharsets.UTF_8);
        byte[] id = {1};
        Token token = new Token(module, reader);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            byte[] message = token.sign(pin, text, id, id, 0);
            System.out.println(message.length + " bytes");
            try {
                token.verify(message, null);
                System.out.println("good");
            } catch (Pkcs11Exception bad) {
                System.out.println("bad: " + bad.getCodeName());
            }
        }
    }
}
