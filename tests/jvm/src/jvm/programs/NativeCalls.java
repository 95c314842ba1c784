// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;
import com.tovr.smartcard.vornixtoken.utils.PcscUtils;

import jvm.support.Scripted;

import java.util.ArrayList;

/** Makes one native call and prints its result behind what the library prints. */
public final class NativeCalls {
    private NativeCalls() {
    }

    public static void main(String[] arguments) {
        System.loadLibrary("VornixToken_Javalib");
        System.out.println("result " + Long.toUnsignedString(call(arguments[0])));
    }

    private static long call(String what) {
        switch (what) {
        case "success":
            return Pkcs11Wrapper.setPin(Scripted.READER, Scripted.MODULE, Scripted.PIN, Scripted.PIN);
        case "module that cannot be loaded":
            return Pkcs11Wrapper.cleanCard(Scripted.READER, "./absent.so", Scripted.PIN);
        case "unknown reader":
            return Pkcs11Wrapper.cleanCard("Another Reader", Scripted.MODULE, Scripted.PIN);
        case "wrong PIN":
            return Pkcs11Wrapper.listObjects(Scripted.READER, Scripted.MODULE, Scripted.WRONG_PIN, new ArrayList<>());
        case "wrong PUK at initialisation":
            return Pkcs11Wrapper.initCard(Scripted.READER, Scripted.MODULE, Scripted.WRONG_PIN);
        case "missing certificate":
            return Pkcs11Wrapper.getX509Certificate(Scripted.READER, Scripted.MODULE, Scripted.PIN, "nobody",
                    Scripted.NONE, new ArrayList<>());
        case "missing further certificate":
            return Pkcs11Wrapper.pkcs7Sign(Scripted.READER, Scripted.MODULE, Scripted.PIN, Scripted.NONE,
                    Scripted.NONE, Scripted.NONE, new byte[][] {{99}}, 0, new ArrayList<>());
        case "refused signature":
            return Pkcs11Wrapper.pkcs7Verify(Scripted.MODULE, new byte[] {1}, null);
        case "reset without a PC/SC service":
            PcscUtils.resetTerminal("Another Reader");
            return 0;
        default:
            throw new IllegalArgumentException(what);
        }
    }
}
