// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Token;

/** Lists a module's readers and the tokens in them. Needs no PIN. */
public final class ListReaders {
    private ListReaders() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(ListReaders.class, arguments, "MODULE");
        for (Reader reader : Token.readers(arguments[0])) {
            System.out.println(reader);
        }
    }
}
