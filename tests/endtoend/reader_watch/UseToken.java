// SPDX-License-Identifier: Apache-2.0
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenObject;
import com.tovr.smartcard.vornixtoken.TokenObject.Kind;
import com.tovr.smartcard.vornixtoken.TokenSession;

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.util.EnumSet;
import java.util.List;
import java.util.Set;

/**
 * Reads orders, a line each, and answers each by a line: "open PIN", "list", "list PIN" (without a session), "tokens" and
 * "reset READER". Arguments: module and the token's label.
 */
public final class UseToken {
    private static final Set<Kind> KEYS = EnumSet.of(Kind.PRIVATE_KEY, Kind.PUBLIC_KEY);

    private final String module;
    private final Token token;
    private TokenSession session;

    private UseToken(String module, String label) {
        this.module = module;
        token = Token.in(module).label(label).build();
    }

    public static void main(String[] args) throws Exception {
        UseToken use = new UseToken(args[0], args[1]);
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        for (String order = orders.readLine(); order != null; order = orders.readLine()) {
            System.out.println(use.answer(order.split(" ", 2)));
        }
    }

    private String answer(String[] order) throws Exception {
        try {
            switch (order[0]) {
                case "open":
                    try (Pin pin = Pin.of(order[1].toCharArray())) {
                        session = token.open(pin);
                    }
                    return "open";
                case "list":
                    return keys(order) + " keys";
                case "tokens":
                    return Token.readers(module).stream().filter(Reader::isTokenPresent).count() + " tokens";
                case "reset":
                    Token.resetTerminal(order[1]);
                    return "reset";
                default:
                    throw new IllegalArgumentException(order[0]);
            }
        } catch (Pkcs11Exception refused) {
            return refused.getReason().toString();
        }
    }

    /** Counts keys, because it depends on OpenSC's version what else it shows. */
    private long keys(String[] order) throws Exception {
        return list(order).stream().filter(each -> KEYS.contains(each.getKind())).count();
    }

    private List<TokenObject> list(String[] order) throws Exception {
        if (order.length == 1) {
            return session.listObjects();
        }
        try (Pin pin = Pin.of(order[1].toCharArray())) {
            return token.listObjects(pin);
        }
    }
}
