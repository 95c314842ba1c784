// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

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
        Token token = new Token(module, reader);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
                TokenSession session = token.open(pin)) {
            byte[] message = session.sign(text, ObjectId.parse("01"), SignatureMode.ENCLOSED);
            System.out.println(message.length + " bytes");
            session.verify(message, null);
            System.out.println("good");
        } catch (Pkcs11Exception refused) {
            System.out.println(refused.getReason()); // BAD_SIGNATURE, for instance
        }
    }
}
