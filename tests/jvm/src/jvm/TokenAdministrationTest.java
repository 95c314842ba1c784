package jvm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Collectors;

@Tag("natives")
class TokenAdministrationTest extends ScriptedToken {
    @Test
    void initCardEmptiesTheTokenUnderItsFixedLabel() {
        String call = Transcript.line("C_InitToken",
                () -> assertEquals(0, Pkcs11Wrapper.initCard(READER, module, SO_PIN)));

        assertEquals("C_InitToken(slot 7, PIN \"87654321\" [8], "
                + "label \"VORNIX Token                    \" [32]): CKR_OK", call);
        assertEquals("VORNIX Token", label());
        assertTrue(objects().isEmpty());
    }

    @Test
    void initCardWithAWrongPukChangesNothing() {
        assertEquals(0xA0, Pkcs11Wrapper.initCard(READER, module, PIN));

        assertEquals("Scripted Token", label());
        assertEquals(6, objects().size());
    }

    @Test
    void cleanCardDestroysEveryObject() {
        assertEquals(0, Pkcs11Wrapper.cleanCard(READER, module, PIN));

        assertTrue(objects().isEmpty());
        assertEquals(0, Pkcs11Wrapper.cleanCard(READER, module, PIN));
    }

    @Test
    void cleanCardWithAWrongPinDestroysNothing() {
        assertEquals(0xA0, Pkcs11Wrapper.cleanCard(READER, module, WRONG_PIN));

        assertEquals(6, objects().size());
    }

    @Test
    void getTokenInfoFillsTheFirstElements() {
        String[] label = {"x", "second"};
        String[] manufacturer = new String[1];
        String[] model = new String[1];
        String[] serialNumber = new String[1];
        String[] flags = new String[1];

        assertEquals(0, Pkcs11Wrapper.getTokenInfo(READER, module, label, manufacturer, model, serialNumber, flags));

        assertArrayEquals(new String[] {"Scripted Token", "second"}, label);
        assertEquals("Scripted Works", manufacturer[0]);
        assertEquals("Scripted Model", model[0]);
        assertEquals("0123456789abcdef", serialNumber[0]);
        assertEquals("000000000000040d", flags[0]);
    }

    @Test
    void getTokenInfoPassesOverNullAndEmptyArrays() {
        String[] none = {};
        String[] serialNumber = new String[1];

        assertEquals(0, Pkcs11Wrapper.getTokenInfo(READER, module, null, none, null, serialNumber, none));

        assertEquals("0123456789abcdef", serialNumber[0]);
    }

    @Test
    void getTokenInfoLeavesTheArraysAloneOnFailure() {
        String[] label = {"before"};

        assertEquals(6, Pkcs11Wrapper.getTokenInfo("Another Reader", module, label, label, label, label, label));
        assertEquals(1, Pkcs11Wrapper.getTokenInfo(READER, "./absent.so", label, label, label, label, label));

        assertEquals("before", label[0]);
    }

    @Test
    void listObjectsDescribesEveryObjectInOrder() {
        assertEquals(Arrays.asList(
                "certificate alice 01 null",
                "public key alice 01 RSA",
                "private key alice 01 RSA",
                "public key boris 02ff GOSTR3410",
                "private key boris 02ff GOSTR3410",
                "data note  null"), objects().stream().map(TokenAdministrationTest::text).collect(Collectors.toList()));
    }

    @Test
    void listObjectsAppendsBehindWhatTheListHolds() {
        Pkcs11ObjectAttribute before = new Pkcs11ObjectAttribute();
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>(Arrays.asList(before));

        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, PIN, objects));

        assertSame(before, objects.get(0));
        assertEquals(7, objects.size());
    }

    @Test
    void listObjectsLeavesTheListAloneOnFailure() {
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();

        assertEquals(0xA0, Pkcs11Wrapper.listObjects(READER, module, WRONG_PIN, objects));
        assertEquals(6, Pkcs11Wrapper.listObjects("Another Reader", module, PIN, objects));
        assertEquals(1, Pkcs11Wrapper.listObjects(READER, "./absent.so", PIN, objects));

        assertTrue(objects.isEmpty());
    }

    @Test
    void aThousandObjectsAreListed() {
        for (int i = 0; i < 1000; i++) {
            assertEquals(0, Pkcs11Wrapper.loadX509Certificate(READER, module, PIN, "number " + i, NONE, NONE));
        }
        List<Pkcs11ObjectAttribute> objects = objects();

        assertEquals(1006, objects.size());
        assertEquals("certificate number 999  null", text(objects.get(1005)));
    }

    private String label() {
        String[] label = new String[1];
        assertEquals(0, Pkcs11Wrapper.getTokenInfo(READER, module, label, null, null, null, null));
        return label[0];
    }

    private List<Pkcs11ObjectAttribute> objects() {
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, PIN, objects));
        return objects;
    }

    private static String text(Pkcs11ObjectAttribute object) {
        return object.getType() + " " + object.getLabel() + " " + object.getId() + " " + object.getKeyType();
    }
}
