// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenInfo;

/** Describes a token. */
public final class ReadTokenInfo {
    private ReadTokenInfo() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ReadTokenInfo.class, arguments, "MODULE READER");
        Token token = new Token(arguments[0], arguments[1]);
        TokenInfo info = token.readInfo();
        System.out.println(info);
        System.out.println(info.getFlags());
    }
}
