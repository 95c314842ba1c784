// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.Scripted;

/** Signs much data, which goes into the message. Arguments: module, reader, PIN, ID in one hexadecimal byte, MiB. */
public final class SignMuch {
    private SignMuch() {
    }

    public static void main(String[] arguments) throws Exception {
        byte[] id = {(byte) Integer.parseInt(arguments[3], 16)};
        byte[] data = new byte[Integer.parseInt(arguments[4]) << 20];
        try (Pin pin = Pin.of(Scripted.ascii(arguments[2]))) {
            byte[] message = new Token(arguments[0], arguments[1]).sign(pin, data, id, id, 0);
            System.out.println(message.length > data.length ? "signed" : "too short");
        } catch (OutOfMemoryError failure) {
            System.out.println("out of memory");
        }
    }
}
