// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;

/** Reads a certificate by the native methods alone. */
public final class NativeMethods {
    private NativeMethods() {
    }

    public static void main(String[] arguments) {
        Usage.check(NativeMethods.class, arguments, "MODULE READER LABEL");
        String module = arguments[0];
        String reader = arguments[1];
        String label = arguments[2];
        byte[] pin = System.getenv("VORNIX_USER_PIN").getBytes(StandardCharsets.UTF_8);
        System.loadLibrary("VornixToken_Javalib");

        ArrayList<Byte> certificate = new ArrayList<>();
        long rv = Pkcs11Wrapper.getX509Certificate(reader, module, pin, label, new byte[0], certificate);
        if (rv == 0) {
            System.out.println(certificate.size() + " bytes");
        } else {
            System.out.println("code " + rv); // a PKCS #11 code: 160 is a wrong PIN, 6 "no such reader or object"
        }
        Arrays.fill(pin, (byte) 0);
    }
}
