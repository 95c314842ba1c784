// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Token;

import java.io.UnsupportedEncodingException;
import java.net.URLEncoder;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;

/**
 * Tries a module and tells of it on standard output, in the process that {@link TriedModule} starts for that. Each line
 * begins with a mark, because the module may write there too.
 */
final class ModuleProbe {
    static final String BEGUN = "begun";
    static final String READER = "reader";
    static final String VENDOR_FUNCTIONS = "vendor-functions";
    static final String CHOSEN = "chosen";
    static final String NOT_CHOSEN = "not-chosen";
    static final String FAILED = "failed";
    static final String ENDED = "ended";

    private final String mark;

    private ModuleProbe(String mark) {
        this.mark = mark;
    }

    /**
     * Tries the module.
     *
     * @param arguments the mark, the module, and the name of a reader, if one shall be chosen
     */
    public static void main(String[] arguments) {
        new ModuleProbe(arguments[0]).run(arguments[1], arguments.length > 2 ? arguments[2] : null);
    }

    private void run(String module, String terminal) {
        tell(BEGUN, Collections.emptyList());
        try {
            for (Reader reader : Token.readers(module)) {
                tell(READER, FoundReader.words(reader));
            }
            tell(VENDOR_FUNCTIONS, Arrays.asList(String.valueOf(Token.hasVendorFunctions(module))));
            if (terminal != null) {
                choose(module, terminal);
            }
            Token.unload(module);
        } catch (Pkcs11Exception refused) {
            tell(FAILED, Arrays.asList(refused.getReason().name(), refused.getStep(), why(refused)));
        } catch (UnsatisfiedLinkError missing) {
            tell(FAILED, Arrays.asList("NO_LIBRARY", "", missing.getMessage()));
        }
        tell(ENDED, Collections.emptyList());
    }

    private void choose(String module, String terminal) {
        try {
            tell(CHOSEN, FoundReader.words(new Token(module, terminal).findReader()));
        } catch (Pkcs11Exception refused) {
            tell(NOT_CHOSEN, Arrays.asList(why(refused)));
        } catch (IllegalArgumentException empty) {
            tell(NOT_CHOSEN, Arrays.asList(empty.getMessage()));
        }
    }

    /** The message without what was tried, which the reader knows. */
    private static String why(Pkcs11Exception refused) {
        return refused.getMessage().substring(refused.getAction().length() + 2);
    }

    private void tell(String what, List<String> words) {
        StringBuilder line = new StringBuilder("\n").append(mark).append(' ').append(what);
        for (String word : words) {
            line.append(' ').append(encoded(word));
        }
        System.out.println(line);
        System.out.flush();
    }

    private static String encoded(String word) {
        try {
            return URLEncoder.encode(word, "UTF-8");
        } catch (UnsupportedEncodingException impossible) {
            throw new IllegalStateException(impossible);
        }
    }
}
