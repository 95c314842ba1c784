// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.NativeLibrary;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.Scripted;

/** Loads the library as the Java API does and makes one call; prints why if that cannot be. */
public final class LibraryLoader {
    private LibraryLoader() {
    }

    public static void main(String[] arguments) {
        try {
            NativeLibrary.load();
            System.setProperty("vornixtoken.library", "/no/longer/there.so");
            NativeLibrary.load(); // looks for nothing, since it is loaded
            System.out.println("result " + Pkcs11Wrapper.pkcs7Verify(Scripted.MODULE, null, null));
        } catch (UnsatisfiedLinkError failure) {
            System.out.println(failure.getMessage());
            if (failure.getCause() != null) {
                System.err.println("caused by " + failure.getCause().getClass().getName());
            }
            System.exit(1);
        }
    }
}
