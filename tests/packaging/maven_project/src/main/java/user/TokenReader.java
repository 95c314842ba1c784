// SPDX-License-Identifier: Apache-2.0
package user;

import com.tovr.smartcard.vornixtoken.Token;

/** Prints the model of the token in a reader; its arguments are module and reader. */
public final class TokenReader {
    private TokenReader() {
    }

    public static void main(String[] arguments) throws Exception {
        System.out.println("model " + new Token(arguments[0], arguments[1]).readInfo().getModel());
    }
}
