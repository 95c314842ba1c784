// SPDX-License-Identifier: Apache-2.0
import com.tovr.smartcard.vornixtoken.utils.PcscUtils;

/** Resets the reader that its argument names, as a Java application does. */
public final class ResetReader {
    private ResetReader() {
    }

    public static void main(String[] args) {
        System.loadLibrary("VornixToken_Javalib");
        PcscUtils.resetTerminal(args[0]);
    }
}
