// SPDX-License-Identifier: Apache-2.0
package bench;

import com.tovr.smartcard.vornixtoken.TokenObject;

import java.util.List;

/** The jobs of an open session as plain JNI functions do them. */
final class PlainJni {
    private PlainJni() {
    }

    static native void open(String module);

    static native List<TokenObject> listObjects();

    static native byte[] readCertificate(String label, byte[] id);
}
