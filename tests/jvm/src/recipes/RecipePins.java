// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.programs.PinHunt;

import java.time.Duration;

import javax.swing.JPasswordField;
import javax.swing.text.BadLocationException;

/** Has the PIN that {@link PinHunt} knows kept by the service and typed at the prompt, and counts its copies. */
public final class RecipePins {
    private RecipePins() {
    }

    public static void main(String[] arguments) throws Exception {
        try (SigningService service = new SigningService(arguments[0], arguments[1], Pin.of(PinHunt.secret()),
                BatchIssuing.ID, 0, Duration.ofMinutes(2))) {
            if (Post.send(service, new byte[] {1}).statusCode() != 200) {
                throw new IllegalStateException("the service does not sign");
            }
            System.out.println(PinHunt.copies() + " copy in the service");
        }
        System.out.println(PinHunt.copies() + " copies after the service");

        DesktopPrompt.open(new Token(arguments[0], arguments[1]), question -> DesktopPrompt.take(typed()))
                .orElseThrow().close();
        System.out.println(PinHunt.copies() + " copies after the prompt");
    }

    private static JPasswordField typed() throws BadLocationException {
        JPasswordField field = DesktopPrompt.newField();
        byte[] secret = PinHunt.secret();
        for (int i = 0; i < secret.length; i++) {
            field.getDocument().insertString(i, String.valueOf((char) secret[i]), null);
            secret[i] = 0;
        }
        return field;
    }
}
