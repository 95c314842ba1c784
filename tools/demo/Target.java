// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.util.ArrayList;
import java.util.List;

/** The token: where it is, its PIN, and what every part of the demonstration asks it. */
final class Target {
    final String module;
    final String reader;
    final byte[] pin;

    private final Report report;

    Target(Report report, String module, String reader, byte[] pin) {
        this.report = report;
        this.module = module;
        this.reader = reader;
        this.pin = pin;
    }

    List<Pkcs11ObjectAttribute> objects(byte[] withPin) {
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        report.expect("listObjects", Pkcs11Wrapper.listObjects(reader, module, withPin, objects));
        return objects;
    }

    boolean isEmpty() {
        return objects(pin).isEmpty();
    }
}
