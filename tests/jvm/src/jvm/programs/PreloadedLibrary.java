// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.Scripted;

/** Loads the session library by itself, from the file that the argument names, and uses a token. */
public final class PreloadedLibrary {
    private PreloadedLibrary() {
    }

    public static void main(String[] arguments) throws Exception {
        System.load(arguments[0]);
        System.out.println(new Token(Scripted.MODULE, Scripted.READER).readInfo().getLabel());
    }
}
