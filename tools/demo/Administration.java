// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.util.ArrayList;
import java.util.Arrays;

/** What is done to the token as a whole. */
final class Administration {
    private static final int PIN_INCORRECT = 0xA0;
    private static final long LOGIN_REQUIRED = 0x4;
    private static final long USER_PIN_INITIALIZED = 0x8;
    private static final long TOKEN_INITIALIZED = 0x400;

    private final Report report;
    private final Target token;

    Administration(Report report, Target token) {
        this.report = report;
        this.token = token;
    }

    void initialise(byte[] puk) {
        report.begin("Initialisation");
        report.expect("initCard", Pkcs11Wrapper.initCard(token.reader, token.module, puk));
        report.check("the token is empty and takes the PIN that it has from its initialisation", token.isEmpty());
        byte[] wrong = withZeroAppended(puk);
        report.expect("initCard", PIN_INCORRECT, Pkcs11Wrapper.initCard(token.reader, token.module, wrong));
        report.checked("with another PUK it is refused");
        Arrays.fill(wrong, (byte) 0);
    }

    void describe() {
        report.begin("Token information");
        String[] label = new String[1];
        String[] manufacturer = new String[1];
        String[] model = new String[1];
        String[] serialNumber = new String[1];
        String[] flags = new String[1];
        report.expect("getTokenInfo", Pkcs11Wrapper.getTokenInfo(token.reader, token.module, label, manufacturer,
                model, serialNumber, flags));
        report.show("label", label[0]);
        report.show("manufacturer", manufacturer[0]);
        report.show("model", model[0]);
        report.show("serial number", serialNumber[0]);
        report.show("flags", flags[0]);
        report.check("the label is the one that the library gives", label[0].equals("VORNIX Token"));
        report.check("the flags are 16 hexadecimal digits", flags[0].matches("[0-9a-f]{16}"));
        long expected = LOGIN_REQUIRED | USER_PIN_INITIALIZED | TOKEN_INITIALIZED;
        report.check("the token is initialised, has a PIN and wants it",
                (Long.parseUnsignedLong(flags[0], 16) & expected) == expected);
    }

    void changePin() {
        report.begin("PIN change, and back");
        byte[] changed = withZeroAppended(token.pin);
        report.expect("setPin", Pkcs11Wrapper.setPin(token.reader, token.module, token.pin, changed));
        report.expect("listObjects", PIN_INCORRECT, Pkcs11Wrapper.listObjects(token.reader, token.module, token.pin,
                new ArrayList<>()));
        report.checked("the former PIN is refused");
        report.check("the new one counts", token.objects(changed).isEmpty());
        report.expect("setPin", Pkcs11Wrapper.setPin(token.reader, token.module, changed, token.pin));
        report.check("the former PIN counts again", token.isEmpty());
        Arrays.fill(changed, (byte) 0);
    }

    void changePuk(byte[] puk) {
        report.begin("PUK change, and back");
        byte[] changed = withZeroAppended(puk);
        report.expect("setPuk", Pkcs11Wrapper.setPuk(token.reader, token.module, puk, changed));
        report.expect("setPuk", PIN_INCORRECT, Pkcs11Wrapper.setPuk(token.reader, token.module, puk, changed));
        report.checked("the former PUK is refused");
        report.expect("setPuk", Pkcs11Wrapper.setPuk(token.reader, token.module, changed, puk));
        report.checked("the new one counted");
        Arrays.fill(changed, (byte) 0);
    }

    void clean() {
        report.begin("Cleaning");
        report.expect("cleanCard", Pkcs11Wrapper.cleanCard(token.reader, token.module, token.pin));
        report.check("no object is left, and the PIN is what it was", token.isEmpty());
    }

    private static byte[] withZeroAppended(byte[] pin) {
        byte[] longer = Arrays.copyOf(pin, pin.length + 1);
        longer[pin.length] = '0';
        return longer;
    }
}
