// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.SoftHsm;

import java.security.KeyStore;
import java.security.Provider;
import java.security.Security;

/** Logs in to SoftHSM2 through the JDK's own PKCS #11 provider, then asks for a signature or request by nobody. */
public final class LoggedInElsewhere {
    private LoggedInElsewhere() {
    }

    public static void main(String[] arguments) throws Exception {
        String reader = arguments[1];
        long slot = Long.parseLong(reader.substring(reader.indexOf("0x") + 2), 16);
        Provider provider = Security.getProvider("SunPKCS11")
                .configure("--name=SoftHSM\nlibrary=" + SoftHsm.MODULE + "\nslot=" + slot + "\n");
        KeyStore.getInstance("PKCS11", provider).load(null, SoftHsm.PIN.toCharArray());

        Token token = new Token(SoftHsm.MODULE, reader);
        byte[] none = {};
        try (Pin pin = Pin.of(SoftHsm.PIN.toCharArray())) {
            if (arguments[0].equals("sign")) {
                token.sign(pin, new byte[] {1}, none, none, 0);
            } else {
                token.createRequest(pin, none, none, RequestContent.builder().build());
            }
            System.out.println("no exception");
        } catch (Pkcs11Exception failure) {
            System.out.println(failure.getCodeName());
        }
        // The provider's own end would meet a module that the library has finalised.
        Runtime.getRuntime().halt(0);
    }
}
