package examples;

import com.tovr.smartcard.vornixtoken.NativeLibrary;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

/** Calls a native method without the classes around it. Arguments: module, reader. */
public final class NativeMethods {
    private NativeMethods() {
    }

    public static void main(String[] arguments) throws Exception {
        NativeLibrary.load();
        String[] label = new String[1];
        long code = Pkcs11Wrapper.getTokenInfo(arguments[1], arguments[0], label, null, null, null, null);
        System.out.println(code == 0 ? label[0] : "code " + code);
    }
}
