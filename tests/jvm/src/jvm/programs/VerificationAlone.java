// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.Scripted;

/** Verifies without any other call before. */
public final class VerificationAlone {
    private VerificationAlone() {
    }

    public static void main(String[] arguments) throws Pkcs11Exception {
        Token.verify(Scripted.MODULE, null, null);
        System.out.println("result 0");
    }
}
