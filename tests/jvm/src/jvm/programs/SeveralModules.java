// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;

/** Lists the readers of one module after the other in one process, or prints why not. Arguments: modules. */
public final class SeveralModules {
    private SeveralModules() {
    }

    public static void main(String[] arguments) {
        for (String module : arguments) {
            try {
                Token.readers(module);
                System.out.println("listed");
            } catch (Pkcs11Exception refused) {
                System.out.println(refused.getReason());
            }
        }
        // Each module's own end is not what is examined.
        Runtime.getRuntime().halt(0);
    }
}
