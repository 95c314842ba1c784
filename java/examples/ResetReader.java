package examples;

import com.tovr.smartcard.vornixtoken.Token;

/** Powers the card in a reader down. Arguments: the reader's full name. */
public final class ResetReader {
    private ResetReader() {
    }

    public static void main(String[] arguments) throws Exception {
        Token.resetTerminal(arguments[0]);
    }
}
