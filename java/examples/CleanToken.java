package examples;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

/** Destroys all objects of a token. Arguments: module, reader. */
public final class CleanToken {
    private CleanToken() {
    }

    public static void main(String[] arguments) throws Exception {
        Token token = new Token(arguments[0], arguments[1]);
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
            token.clean(pin);
        }
    }
}
