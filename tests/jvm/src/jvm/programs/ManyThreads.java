// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.Scripted;
import jvm.support.SoftHsm;
import jvm.support.Threads;

import java.util.ArrayList;

/** Lists one token's objects in several threads at once. Arguments: "natives" or "facade", reader. */
public final class ManyThreads {
    private static final int HUNG = 2;
    private static final int THREADS = 8;
    private static final int TIMES = 100;
    private static final long PATIENCE_IN_MILLISECONDS = 120_000;

    private ManyThreads() {
    }

    public static void main(String[] arguments) throws Exception {
        haltWhenHung();
        Token token = new Token(SoftHsm.MODULE, arguments[1]);
        Pin pin = Pin.of(SoftHsm.PIN.toCharArray());
        byte[] raw = Scripted.ascii(SoftHsm.PIN);
        Threads.run(THREADS, TIMES, arguments[0].equals("facade")
                ? () -> token.listObjects(pin)
                : () -> listOrThrow(arguments[1], raw));
        // Whatever the module's state is now: its destructors are not what is examined.
        Runtime.getRuntime().halt(0);
    }

    private static void listOrThrow(String reader, byte[] pin) {
        long code = Pkcs11Wrapper.listObjects(reader, SoftHsm.MODULE, pin, new ArrayList<>());
        if (code != 0) {
            throw new AssertionError("code " + code);
        }
    }

    private static void haltWhenHung() {
        Thread watch = new Thread(() -> {
            try {
                Thread.sleep(PATIENCE_IN_MILLISECONDS);
            } catch (InterruptedException impossible) {
                throw new AssertionError(impossible);
            }
            Runtime.getRuntime().halt(HUNG);
        });
        watch.setDaemon(true);
        watch.start();
    }
}
