// SPDX-License-Identifier: Apache-2.0
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Token;

import java.io.BufferedReader;
import java.io.InputStreamReader;

/** Writes a line for each slot of a module, and an empty one behind them, as often as it reads a line. */
public final class ListSlots {
    private ListSlots() {
    }

    public static void main(String[] args) throws Exception {
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        while (orders.readLine() != null) {
            for (Reader reader : Token.readers(args[0])) {
                System.out.println(reader.getName() + (reader.isTokenPresent() ? ": card" : ": no card"));
            }
            System.out.println();
        }
    }
}
