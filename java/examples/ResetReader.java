// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Token;

/** Powers the card in a reader down. */
public final class ResetReader {
    private ResetReader() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ResetReader.class, arguments, "READER");
        Token.resetTerminal(arguments[0]);
    }
}
