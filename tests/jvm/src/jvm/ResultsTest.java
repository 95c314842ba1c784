// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.list;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.Scripted;
import jvm.support.ScriptedToken;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.Random;
import java.util.stream.Collectors;

/** What the natives make of the virtual machine's lists, arrays and objects, few or many. */
@Tag("natives")
class ResultsTest extends ScriptedToken {
    private static final byte[] ALICE = {1};

    @Test
    void bytesAreAppendedBehindWhatTheListsHold() {
        ArrayList<Byte> certificate = list(1, 2);
        ArrayList<Byte> modulus = list(5);
        ArrayList<Byte> exponent = list(6);

        assertEquals(0, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "alice", ALICE, certificate));
        assertEquals(0, Pkcs11Wrapper.getPublicKey(READER, module, PIN, "alice", ALICE, modulus, exponent));

        assertEquals(list(1, 2, 0x30, 0x03, 0x02, 0x01, 0x80), certificate);
        assertEquals(list(5, 0xc3, 0x00, 0x7f, 0x80), modulus);
        assertEquals(list(6, 0x01, 0x00, 0x01), exponent);
    }

    @Test
    @Tag("large")
    void aMillionBytesComeBackWhole() {
        byte[] value = new byte[1 << 20];
        new Random(1).nextBytes(value);
        ArrayList<Byte> certificate = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, "large", NONE, value));
        assertEquals(0, Pkcs11Wrapper.getX509Certificate(READER, module, PIN, "large", NONE, certificate));

        assertArrayEquals(value, Scripted.array(certificate));
    }

    @Test
    void firstElementsAreFilled() {
        String[] none = {};
        String[] label = {"x", "second"};
        String[] flags = new String[1];

        assertEquals(0, Pkcs11Wrapper.getTokenInfo(READER, module, label, null, none, null, flags));

        assertArrayEquals(new String[] {"Scripted Token", "second"}, label);
        assertEquals("000000000000040d", flags[0]);
    }

    @Test
    void objectsAreMadeAndAppended() {
        Pkcs11ObjectAttribute before = new Pkcs11ObjectAttribute();
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>(Arrays.asList(before));

        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, PIN, objects));

        assertSame(before, objects.remove(0));
        assertEquals(Arrays.asList(
                "certificate alice 01 null",
                "public key alice 01 RSA",
                "private key alice 01 RSA",
                "public key boris 02ff GOSTR3410",
                "private key boris 02ff GOSTR3410",
                "data note  null"), objects.stream().map(ResultsTest::text).collect(Collectors.toList()));
    }

    @Test
    void aLabelOfManyAlphabetsIsListedAsItWasGiven() {
        String label = "Zo\u00eb \u03a9 \u6f22\u5b57 \uD83D\uDE00 end";
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, label, NONE, NONE));
        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, PIN, objects));

        assertEquals(label, objects.get(6).getLabel());
    }

    @Test
    void aThousandObjectsAreListed() {
        for (int i = 0; i < 1000; i++) {
            assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, "number " + i, NONE, NONE));
        }
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, PIN, objects));

        assertEquals(1006, objects.size());
        assertEquals("certificate number 999  null", text(objects.get(1005)));
    }

    @Test
    void thousandsOfCallsInARowWork() {
        for (int i = 0; i < 2000; i++) {
            assertEquals(0, Pkcs11Wrapper.getTokenInfo(READER, module, null, null, null, null, null));
        }
    }

    private static String text(Pkcs11ObjectAttribute object) {
        return object.getType() + " " + object.getLabel() + " " + object.getId() + " " + object.getKeyType();
    }
}
